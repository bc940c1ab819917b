#include "CopyOrBeep.h"

#include <QApplication>
#include <QClipboard>
#include <QString>

void copyOrBeep(const QString& text)
{
    if (text.isEmpty()) {
        QApplication::beep();
    } else {
        QApplication::clipboard()->setText(text);
    }
}
