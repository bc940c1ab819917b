// Lists a folder into the window's table as the program does, and prints what it took:
//   ListingBench ADDRESS USER PASSWORD
// Milliseconds from the first items to the complete, sorted table; the longest time that the event loop stood still
// meanwhile; by how many MiB its memory grew; for each column the time to sort by it again; the time to paint after a
// jump to the middle. Off screen unless QT_QPA_PLATFORM says otherwise. The exit code is 1 when the listing failed.

#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "ListingTable.h"
#include "ProgramName.h"
#include "TableColumns.h"
#include "UserDefaults.h"
#include "ViewController.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QScrollBar>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

double milliseconds(const QElapsedTimer& clock)
{
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

/// Memory of this process, in MiB.
double residentMemory()
{
    QFile file(u"/proc/self/statm"_s);
    const QByteArrayList pages = file.open(QIODevice::ReadOnly) ? file.readAll().split(' ') : QByteArrayList();
    return static_cast<double>(pages.value(1).toLongLong() * ::sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

/// The time from the first items to the last, and the longest pause between two turns of the loop.
bool list(ViewController& controller)
{
    QElapsedTimer sinceFirst;
    QElapsedTimer turn;
    double longest = 0;
    const double memoryBefore = residentMemory();
    controller.listFTPDestination();
    while (controller.lc().isReceiving()) {
        turn.start();
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (sinceFirst.isValid()) {
            longest = std::max(longest, milliseconds(turn));
        } else if (!controller.listEntries().isEmpty()) {
            sinceFirst.start();
        }
    }
    controller.onTick();
    const QString status = controller.window().findChild<QLabel*>(u"listingStatusTextField"_s)->text();
    if (!sinceFirst.isValid() || status != u"Listing succeeded"_s) {
        std::fprintf(stderr, "%s\n", qPrintable(status));
        return false;
    }
    std::printf("items %lld\ncomplete %.0f\nstall %.0f\nmemory %.0f\n",
                static_cast<long long>(controller.listEntries().size()), milliseconds(sinceFirst), longest,
                residentMemory() - memoryBefore);
    return true;
}

void sortByEachColumn(ListingTable& table)
{
    for (int column = 0; column < TableColumns::all.size(); ++column) {
        QElapsedTimer clock;
        clock.start();
        table.horizontalHeader()->setSortIndicator(column, Qt::DescendingOrder);
        table.viewport()->repaint();
        std::printf("sort %s %.0f\n", qPrintable(TableColumns::all[column]), milliseconds(clock));
    }
}

void jump(ListingTable& table)
{
    QElapsedTimer clock;
    clock.start();
    table.verticalScrollBar()->setValue(table.verticalScrollBar()->maximum() / 2);
    table.viewport()->repaint();
    std::printf("jump %.0f\n", milliseconds(clock));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fputs("usage: ListingBench ADDRESS USER PASSWORD\n", stderr);
        return 2;
    }
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    const auto argument = [argv](int number) { return QString::fromLocal8Bit(argv[number]); };
    setProgramFileName(u"Quillbox"_s); // Another name adds a folder.
    if (!UserDefaults::standard().store(
            { { u"Address"_s, argument(1) }, { u"Username"_s, argument(2) }, { u"Password"_s, argument(3) } })) {
        return 1;
    }
    FTPEngine engine;
    EngineStreamFactory streams(engine);
    EngineConnections connections(engine);
    auto* const controller = new ViewController(streams, connections); // Lives as long as the process.
    controller->window().show();
    const bool isListed = list(*controller);
    if (isListed) {
        auto& table = *controller->window().findChild<ListingTable*>();
        sortByEachColumn(table);
        jump(table);
    }
    std::fflush(stdout);
    ::_exit(isListed ? 0 : 1);
}
