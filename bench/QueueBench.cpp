// What many waiting files cost the window, and what a tick costs: Google Benchmark, off screen.

#include "DestinationSettings.h"
#include "DragDropView.h"
#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "FileURL.h"
#include "HistoryWindow.h"
#include "LedgerDatabase.h"
#include "ProgramName.h"
#include "SettingNames.h"
#include "UploadHistory.h"
#include "UploadLedger.h"
#include "UserDefaults.h"
#include "ViewController.h"

#include <QApplication>
#include <QMimeData>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTableView>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <memory>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int manyFiles = 100'000;

/// A window whose destination is a port that nobody listens on: an upload starts and does not get far.
ViewController& controller()
{
    static auto* const controller = [] {
        auto* const engine = new FTPEngine; // All of it lives as long as the process.
        auto* const made = new ViewController(*new EngineStreamFactory(*engine), *new EngineConnections(*engine));
        static const QTemporaryDir state;
        made->ledger().open(state.filePath(u"history.sqlite"_s), u"Quillbox"_s);
        made->window().show();
        QApplication::processEvents();
        return made;
    }();
    return *controller;
}

/// A drop of so many files that exist, as another program's: a text.
const QMimeData& drop(int count)
{
    static const QTemporaryDir folder;
    static QMimeData data;
    static int present = 0;
    if (std::exchange(present, count) != count) {
        QByteArray uris;
        for (int number = 0; number < count; ++number) {
            const QString path = folder.filePath(u"file %1"_s.arg(number, 6, 10, QChar(u'0')));
            QFile file(path);
            if (!file.exists() && !file.open(QIODevice::WriteOnly)) {
                qFatal("cannot make the files");
            }
            uris += fileURI(path).toLatin1() + "\r\n";
        }
        data.setData(u"text/uri-list"_s, uris);
    }
    return data;
}

void dropFiles(benchmark::State& state)
{
    const QMimeData& files = drop(static_cast<int>(state.range(0)));
    auto& view = *controller().window().findChild<DragDropView*>();
    for (auto _ : state) {
        view.draggingEntered(files);
        if (!view.prepareForDragOperation(files)) {
            state.SkipWithError("the drop was not accepted");
        }
        view.concludeDragOperation();
        QApplication::processEvents(); // What has changed is painted.
        state.PauseTiming();
        controller().clearQueue();
        state.ResumeTiming();
    }
}
BENCHMARK(dropFiles)->Arg(1'000)->Arg(manyFiles)->Unit(benchmark::kMillisecond);

/// What the window's loop stands still for one more file.
void addOneToMany(benchmark::State& state)
{
    controller().clearQueue();
    PathList files;
    for (int number = 0; number < state.range(0); ++number) {
        files.append(u"/nowhere/at/all/file %1"_s.arg(number));
    }
    controller().uploadFiles(files);
    QApplication::processEvents();
    for (auto _ : state) {
        controller().uploadFiles({ u"/nowhere/at/all/one more"_s });
        QApplication::sendPostedEvents(); // What has changed is laid out and painted.
    }
    controller().clearQueue();
}
BENCHMARK(addOneToMany)->Arg(manyFiles)->Iterations(100)->Unit(benchmark::kMillisecond);

void set(const QString& key, const QJsonValue& value)
{
    if (!UserDefaults::standard().store({ { key, value } })) {
        qFatal("cannot store the settings");
    }
}

/// So many drops of one file each; with a second argument of 1 somebody is to be asked about them.
void dropOneByOne(benchmark::State& state)
{
    set(SettingNames::askBeforeReplacing, state.range(1) == 1);
    for (auto _ : state) {
        for (int number = 0; number < state.range(0); ++number) {
            controller().uploadFiles({ u"/nowhere/at/all/file %1"_s.arg(number) });
        }
        state.PauseTiming();
        controller().clearQueue();
        QApplication::processEvents();
        state.ResumeTiming();
    }
    set(SettingNames::askBeforeReplacing, QJsonValue());
}
BENCHMARK(dropOneByOne)->Args({ manyFiles, 0 })->Args({ manyFiles, 1 })->Iterations(1)->Unit(benchmark::kMillisecond);

/// Another destination is in force while so many files wait to be sent to the one before, and as many more that were
/// queued again one by one: somebody is to be asked about the former again.
void changeDestination(benchmark::State& state)
{
    controller().clearQueue();
    const Destination destination = DestinationSettings::destination();
    for (int number = 0; number < state.range(0); ++number) {
        controller().uploadAgain({ u"/nowhere/at/all/once more %1"_s.arg(number) }, destination);
    }
    controller().uploadFiles(QStringList(state.range(0), u"/nowhere/at/all"_s));
    set(SettingNames::askBeforeReplacing, true);
    set(SettingNames::ftpFolder, u"another"_s);
    for (auto _ : state) {
        controller().destinationSet();
    }
    set(SettingNames::askBeforeReplacing, QJsonValue());
    set(SettingNames::ftpFolder, QJsonValue());
    controller().clearQueue();
    controller().destinationSet();
}
BENCHMARK(changeDestination)->Arg(manyFiles)->Iterations(1)->Unit(benchmark::kMillisecond);

void tickWhileFilesWait(benchmark::State& state)
{
    controller().clearQueue();
    controller().uploadFiles(QStringList(state.range(0), u"/nowhere/at/all"_s));
    for (auto _ : state) {
        controller().onTick(); // Takes one file off the queue, which it passes over.
    }
    controller().clearQueue();
}
BENCHMARK(tickWhileFilesWait)->Arg(manyFiles)->Iterations(manyFiles / 2)->Unit(benchmark::kMicrosecond);

void tickWithoutFiles(benchmark::State& state)
{
    controller().clearQueue();
    for (auto _ : state) {
        controller().onTick();
    }
}
BENCHMARK(tickWithoutFiles)->Unit(benchmark::kMicrosecond);

/// Earlier runs of so many files.
class LongHistory {
public:
    LongHistory()
    {
        const QString path = m_folder.filePath(u"history.sqlite"_s);
        LedgerDatabase(u"Quillbox"_s).open(path);
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"fill"_s);
            database.setDatabaseName(path);
            database.open();
            QSqlQuery(database).exec(
                u"WITH RECURSIVE numbers(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM numbers WHERE n < %1) "
                "INSERT INTO files (run, number, copy, folder, name, destination, outcome, size, durationMs, time, "
                "reply) SELECT 7, n, x'41', CAST('/home/anna/folder' AS BLOB), CAST('file ' || n AS BLOB), "
                "'ftp://host/in/', 2, n, n % 1000, 1000 * unixepoch(), '226 Transfer complete' FROM numbers"_s.arg(
                    rows));
        }
        QSqlDatabase::removeDatabase(u"fill"_s);
        m_ledger.open(path, u"Quillbox"_s, { .files = 10 * rows, .days = 90 });
    }

    /// A window that shows all rows, and of the last ones what is known.
    std::unique_ptr<HistoryWindow> open()
    {
        auto window = std::make_unique<HistoryWindow>(m_history, m_ledger, nullptr);
        window->show();
        QAbstractItemModel& model = *window->findChild<QTableView*>()->model();
        while (model.rowCount() < rows || !isKnown(model, rows - 1)) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return window;
    }
    static bool isKnown(const QAbstractItemModel& model, int row) { return model.index(row, 0).data().isValid(); }

    static constexpr int rows = 200'000;

private:
    QTemporaryDir m_folder;
    UploadHistory m_history;
    UploadLedger m_ledger{ m_history };
};

qint64 residentKiB()
{
    QFile file(u"/proc/self/statm"_s);
    return file.open(QIODevice::ReadOnly)
        ? file.readAll().split(' ').value(1).toLongLong() * ::sysconf(_SC_PAGESIZE) / 1024
        : 0;
}

void openHistory(benchmark::State& state)
{
    LongHistory history;
    history.open();
    for (auto _ : state) {
        const std::unique_ptr<HistoryWindow> window = history.open();
        state.PauseTiming();
        window->close();
        state.ResumeTiming();
    }
}
BENCHMARK(openHistory)->Iterations(20)->Unit(benchmark::kMillisecond);

/// A page further, painted, with all that is known of it.
void scrollHistory(benchmark::State& state)
{
    LongHistory history;
    const std::unique_ptr<HistoryWindow> window = history.open();
    QTableView& table = *window->findChild<QTableView*>();
    const qint64 before = residentKiB();
    int row = 0;
    for (auto _ : state) {
        row = (row + 100) % LongHistory::rows;
        table.scrollTo(table.model()->index(row, 0), QAbstractItemView::PositionAtTop);
        while (!LongHistory::isKnown(*table.model(), row)) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    state.counters["more KiB"] = static_cast<double>(residentKiB() - before);
}
BENCHMARK(scrollHistory)->Iterations(500)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    setProgramFileName(u"Quillbox"_s); // Another name adds a folder.
    if (!UserDefaults::standard().store({ { u"Address"_s, u"127.0.0.1:1"_s } })) {
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::fflush(stdout);
    return 0;
}
