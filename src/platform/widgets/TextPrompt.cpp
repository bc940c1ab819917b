#include "TextPrompt.h"

#include "LabelAlignment.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

QString promptForText(QWidget* parent, const QString& title, const QString& prompt, const QString& defaultText)
{
    QDialog dialog(parent);
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.setWindowTitle(title);

    auto* const label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setText(prompt);
    auto* const field = new QLineEdit(defaultText);
    field->setAccessibleName(prompt);
    field->setMinimumSize(320, 28); // In device-independent pixels.
    field->selectAll();
    auto* const buttons = new QDialogButtonBox;
    QPushButton* const acceptButton = buttons->addButton(u"OK"_s, QDialogButtonBox::AcceptRole);
    buttons->addButton(u"Cancel"_s, QDialogButtonBox::RejectRole);
    acceptButton->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);

    auto* const layout = new QVBoxLayout(&dialog);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(10);
    layout->addWidget(label);
    layout->addWidget(field);
    layout->addSpacing(4);
    layout->addWidget(buttons);
    alignLabelsToDirection(dialog);
    field->setFocus();
    if (dialog.exec() != QDialog::Accepted) {
        return QString();
    }
    const QString text = field->text();
    return text.isNull() ? u""_s : text; // An empty answer is an answer.
}
