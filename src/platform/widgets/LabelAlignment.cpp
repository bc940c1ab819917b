#include "LabelAlignment.h"

#include <QLabel>
#include <QStyle>

void alignLabelsToDirection(const QWidget& window)
{
    if (window.isRightToLeft()) {
        for (QLabel* label : window.findChildren<QLabel*>()) {
            label->setAlignment(QStyle::visualAlignment(Qt::RightToLeft, label->alignment()));
        }
    }
}
