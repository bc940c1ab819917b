// Uploads files one after another as the program's queue does, and prints what each took:
//   UploadBench DESTINATION USER PASSWORD FILE...
// One line per file: milliseconds from the end of the file before, or from the start of the first one. The exit code is
// 1 when one has not arrived.

#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "FTPPutController.h"
#include "NetworkManager.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How often the queue looks whether the next file can start.
constexpr auto tickInterval = 10ms;

/// Sends a list of files, each as soon as a tick finds the controller idle.
class Queue final : public FTPPutControllerDelegate {
public:
    Queue(QString destination, QString userName, QString password, QStringList files)
        : m_destination(std::move(destination))
        , m_userName(std::move(userName))
        , m_password(std::move(password))
        , m_files(std::move(files))
    {
        m_controller.setDelegate(m_anchor.ref(this));
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { tick(); });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(tickInterval);
    }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    virtual ~Queue()
    {
        // A controller reports a stop when it is destroyed; without a start that would be one too many.
        NetworkManager::sharedInstance().didStartNetworkOperation();
    }

    void percentDone(float /*percent*/) override { }
    void bytesDone(float /*bytes*/) override { }
    void updateStatus(const QString& status) override { m_status = status; }
    void uploadDone() override
    {
        std::printf("%.1f\n", static_cast<double>(m_clock.nsecsElapsed()) / 1e6);
        m_clock.restart();
        ++m_arrived;
    }

private:
    void tick()
    {
        if (m_controller.isSending()) {
            return;
        }
        if (m_arrived < m_started) {
            std::fprintf(stderr, "%s: %s\n", qPrintable(m_controller.pathToUpload()), qPrintable(m_status));
            QCoreApplication::exit(1);
        } else if (m_started == m_files.size()) {
            QCoreApplication::exit(0);
        } else {
            if (m_started == 0) {
                m_clock.start();
            }
            m_controller.startSend(m_files.at(m_started++), m_destination, m_userName, m_password);
        }
    }

    QString m_destination;
    QString m_userName;
    QString m_password;
    QStringList m_files;
    qsizetype m_started = 0;
    qsizetype m_arrived = 0;
    QString m_status;
    QElapsedTimer m_clock;
    QTimer m_timer;
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
    FTPPutController m_controller{ m_streams };
    WeakAnchor m_anchor;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 5) {
        std::fputs("usage: UploadBench DESTINATION USER PASSWORD FILE...\n", stderr);
        return 2;
    }
    const Queue queue(arguments.at(1), arguments.at(2), arguments.at(3), arguments.mid(4));
    return QCoreApplication::exec();
}
