#include "MessageBoxTexts.h"

#include <QLabel>
#include <QMessageBox>

using namespace Qt::StringLiterals;

void setPlainTexts(QMessageBox& box, const QString& title, const QString& text)
{
    box.setWindowTitle(title);
    box.setTextFormat(Qt::PlainText);
    box.setText(title);
    box.setInformativeText(text);
    // The box's format is for its first text only.
    if (auto* const label = box.findChild<QLabel*>(u"qt_msgbox_informativelabel"_s)) {
        label->setTextFormat(Qt::PlainText);
        // Otherwise a long text below a short title stands in a narrow column.
        constexpr int comfortableWidth = 360;
        label->setMinimumWidth(qMin(comfortableWidth, label->fontMetrics().horizontalAdvance(text)));
    }
}
