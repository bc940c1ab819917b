#include "SheetDetails.h"

#include "ElidedLabel.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>

using namespace Qt::StringLiterals;

namespace {

constexpr int widthOfValues = 400; ///< In device-independent pixels.

QLabel* newCode()
{
    auto* const label = new QLabel;
    label->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

} // namespace

void addSheetDetails(QMessageBox& box, const QList<SheetDetail>& details)
{
    auto* const facts = new QWidget(&box);
    auto* const rows = new QGridLayout(facts);
    rows->setContentsMargins(0, 6, 0, 6);
    rows->setHorizontalSpacing(10);
    rows->setColumnMinimumWidth(1, widthOfValues);
    for (int row = 0; row < details.size(); ++row) {
        const SheetDetail& detail = details[row];
        auto* const name = new QLabel(detail.name + u':');
        QLabel* const value = detail.isCode ? newCode() : new ElidedLabel;
        name->setTextFormat(Qt::PlainText);
        value->setTextFormat(Qt::PlainText);
        value->setText(detail.value);
        value->setAccessibleDescription(detail.name);
        rows->addWidget(name, row, 0, Qt::AlignRight | Qt::AlignTop);
        rows->addWidget(value, row, 1);
    }
    auto* const layout = qobject_cast<QGridLayout*>(box.layout());
    auto* const buttons = box.findChild<QDialogButtonBox*>();
    if (layout == nullptr || buttons == nullptr) {
        return; // The box would have to be made otherwise than the toolkit makes it.
    }
    layout->removeWidget(buttons);
    const int row = layout->rowCount();
    layout->addWidget(facts, row, layout->columnCount() - 1);
    layout->addWidget(buttons, row + 1, 0, 1, layout->columnCount());
}
