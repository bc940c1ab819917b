// What many waiting files cost the window, and what a tick costs: Google Benchmark, off screen.

#include "DragDropView.h"
#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "FileURL.h"
#include "ProgramName.h"
#include "UserDefaults.h"
#include "ViewController.h"

#include <QApplication>
#include <QMimeData>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
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
