#include "TextPrompt.h"

#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>

using namespace Qt::StringLiterals;

QString promptForText(QWidget* parent, const QString& prompt, const QString& defaultText)
{
    QInputDialog dialog(parent);
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.setInputMode(QInputDialog::TextInput);
    dialog.setWindowTitle(prompt);
    dialog.setLabelText(prompt);
    if (auto* const label = dialog.findChild<QLabel*>()) {
        label->setTextFormat(Qt::PlainText);
    }
    dialog.setTextValue(defaultText);
    dialog.setOkButtonText(u"OK"_s);
    dialog.setCancelButtonText(u"Cancel"_s);
    if (auto* const field = dialog.findChild<QLineEdit*>()) {
        field->setMinimumSize(200, 24);
        field->setAccessibleName(prompt);
    }
    if (dialog.exec() != QDialog::Accepted) {
        return QString();
    }
    const QString text = dialog.textValue();
    return text.isNull() ? u""_s : text; // An empty answer is an answer.
}
