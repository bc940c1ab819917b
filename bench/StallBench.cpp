// Does things in the program's window, and prints how long its loop stood still at most meanwhile:
//   StallBench ADDRESS USER PASSWORD OPERATION...
//   list        lists the destination folder again
//   select      selects the item in the middle of the table, which a further listing has to find again
//   sort        sorts by each column, up and down
//   download    downloads "endless" until the disk holds 256 MiB of it, then stops
// One line for each: its name, the milliseconds of the longest turn of the loop, those that the processor was busy with
// a turn for us at most (another program may have had it meanwhile), the items in the table, the last status.
// Off screen unless QT_QPA_PLATFORM says otherwise.

#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "FTPGetController.h"
#include "FTPListController.h"
#include "ListingTable.h"
#include "ProgramName.h"
#include "TableColumns.h"
#include "UserDefaults.h"
#include "ViewController.h"

#include <QApplication>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 enough = 256 * 1024 * 1024; ///< Bytes of a download that has no end.
constexpr int afterglowMs = 500; ///< What an operation leaves to be done, such as pictures, belongs to it.

/// Time since it was made, and processor time of this thread since then.
class Stopwatch {
public:
    double milliseconds() const { return static_cast<double>(now(CLOCK_MONOTONIC) - m_start) / 1e6; }
    double busyMilliseconds() const { return static_cast<double>(now(CLOCK_THREAD_CPUTIME_ID) - m_busyStart) / 1e6; }

private:
    static qint64 now(clockid_t clock)
    {
        timespec time{};
        ::clock_gettime(clock, &time);
        return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
    }

    qint64 m_start = now(CLOCK_MONOTONIC);
    qint64 m_busyStart = now(CLOCK_THREAD_CPUTIME_ID);
};

/// The longest of the turns of the loop so far, without the time that it had nothing to do.
class Turns {
public:
    /// Runs one turn, or waits a moment when there is nothing to do.
    void run()
    {
        const Stopwatch turn;
        QApplication::processEvents();
        note(turn);
        if (turn.milliseconds() < 0.05) {
            QThread::usleep(100);
        }
    }
    void runFor(int milliseconds)
    {
        const Stopwatch whole;
        while (whole.milliseconds() < milliseconds) {
            run();
        }
    }
    /// @p turn was made at the beginning of something that the loop had to wait for.
    void note(const Stopwatch& turn)
    {
        longest = std::max(longest, turn.milliseconds());
        longestBusy = std::max(longestBusy, turn.busyMilliseconds());
    }

    double longest = 0;
    double longestBusy = 0;
};

void list(ViewController& controller, Turns& turns)
{
    const Stopwatch start;
    controller.listFTPDestination();
    turns.note(start);
    while (controller.lc().isReceiving()) {
        turns.run();
    }
}

void selectMiddle(ViewController& controller, Turns& turns)
{
    auto& table = *controller.window().findChild<ListingTable*>();
    const Stopwatch turn;
    table.selectRow(static_cast<int>(controller.listEntries().size() / 2));
    turns.note(turn);
}

void sortByEachColumn(ViewController& controller, Turns& turns)
{
    const ListingTable& table = *controller.window().findChild<ListingTable*>();
    QHeaderView& header = *table.horizontalHeader();
    for (int column = 0; column < TableColumns::all.size(); ++column) {
        for (const Qt::SortOrder order : { Qt::DescendingOrder, Qt::AscendingOrder }) {
            const Stopwatch turn;
            header.setSortIndicator(column, order);
            turns.note(turn);
            while (!controller.listEntries().isSortedBy(table.sortDescriptors())) {
                turns.run();
            }
            turns.runFor(100);
        }
    }
}

void download(ViewController& controller, Turns& turns)
{
    const QTemporaryDir folder;
    const QFileInfo file(folder.filePath(u"endless"_s));
    controller.items().downloadFile(u"endless"_s, folder.path());
    while (controller.gc().isReceiving() && QFileInfo(file.filePath()).size() < enough) {
        turns.run();
    }
    const Stopwatch turn;
    controller.stopButtonAction();
    turns.note(turn);
    turns.runFor(afterglowMs);
}

bool perform(const QString& operation, ViewController& controller)
{
    static const QHash<QString, std::function<void(ViewController&, Turns&)>> operations{
        { u"list"_s, list }, { u"select"_s, selectMiddle }, { u"sort"_s, sortByEachColumn }, { u"download"_s, download }
    };
    const auto what = operations.value(operation);
    if (what == nullptr) {
        return false;
    }
    Turns turns;
    what(controller, turns);
    turns.runFor(afterglowMs);
    const char* const label = operation == u"download"_s ? "statusTextField" : "listingStatusTextField";
    std::printf("%s %.1f %.1f %lld %s\n", qPrintable(operation), turns.longest, turns.longestBusy,
                static_cast<long long>(controller.listEntries().size()),
                qPrintable(controller.window().findChild<QLabel*>(QLatin1StringView(label))->text()));
    std::fflush(stdout);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 5) {
        std::fputs("usage: StallBench ADDRESS USER PASSWORD OPERATION...\n", stderr);
        return 2;
    }
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    const QStringList words = QApplication::arguments();
    setProgramFileName(u"Quillbox"_s); // Another name adds a folder.
    if (!UserDefaults::standard().store(
            { { u"Address"_s, words[1] }, { u"Username"_s, words[2] }, { u"Password"_s, words[3] } })) {
        return 1;
    }
    FTPEngine engine;
    EngineStreamFactory streams(engine);
    EngineConnections connections(engine);
    auto* const controller = new ViewController(streams, connections); // Lives as long as the process.
    controller->window().show();
    Turns start;
    start.runFor(1000);
    const bool isDone = std::all_of(words.begin() + 4, words.end(),
                                    [controller](const QString& word) { return perform(word, *controller); });
    ::_exit(isDone ? 0 : 1);
}
