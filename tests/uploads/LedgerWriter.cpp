// A copy of the program in a process of its own, as far as its ledger goes: LedgerWriter DATABASE COPY FILES PAUSE_MS
// queues so many files, has one after another confirmed, and prints the number of each. Three wait for ever. Ends with
// its input, or with 1 when the history cannot be kept.
#include "UploadHistory.h"
#include "UploadLedger.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    UploadHistory history;
    UploadLedger ledger(history);
    QObject::connect(&ledger, &UploadLedger::problemFound, [] { std::_Exit(1); });
    ledger.open(words[1], words[2]);
    const int count = words[3].toInt();
    PathList paths;
    for (int number = 0; number < count + 3; ++number) {
        paths.append(u"/folder/%1 %2"_s.arg(words[2]).arg(number));
    }
    history.filesQueued(paths);
    std::puts("queued");
    std::fflush(stdout);

    int sent = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (sent == count) {
            std::getchar(); // Which ends with the input.
            QCoreApplication::exit(ledger.close(std::chrono::seconds(60)) ? 0 : 1);
            return;
        }
        history.nextFileStarts({ u"ftp://host/"_s });
        history.fileMoves(1);
        history.fileConfirmed(1, u"226 Done"_s);
        std::printf("%d\n", sent++);
        std::fflush(stdout);
    });
    timer.start(words[4].toInt());
    return QCoreApplication::exec();
}
