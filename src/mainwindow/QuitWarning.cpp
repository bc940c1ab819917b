#include "QuitWarning.h"

#include <QLocale>
#include <QStringList>

using namespace Qt::StringLiterals;

QString quitWarning(bool isSending, bool isReceiving, qsizetype waiting, bool isLookedThrough)
{
    QStringList sentences;
    if (isSending) {
        sentences.append(u"A file is being uploaded, and what has arrived of it would not be whole."_s);
    }
    if (isReceiving) {
        sentences.append(u"A file is being downloaded, and what has come of it would not be whole."_s);
    }
    if (waiting == 1) {
        sentences.append(u"One file is waiting, and would not be uploaded."_s);
    } else if (waiting > 1) {
        sentences.append(u"%1 files are waiting, and would not be uploaded."_s.arg(QLocale().toString(waiting)));
    }
    if (isLookedThrough) {
        sentences.append(u"Folders are being looked through, and what is yet to be found would not be uploaded."_s);
    }
    return sentences.isEmpty() ? QString() : sentences.join(u"\n\n"_s);
}
