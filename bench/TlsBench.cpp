// Moves files over encrypted connections one after another, by the program's own controllers, and prints what each
// took:
//   TlsBench put|get DESTINATION USER PASSWORD FILE...
// put sends local files to the folder DESTINATION; get takes the files named from there, and throws them away. One line
// per file: milliseconds from the end of the file before, or from the start of the first one. The exit code is 1 when
// one has not arrived. Any certificate is trusted.

#include "CertificateTrust.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "FTPGetController.h"
#include "FTPPutController.h"
#include "NetworkManager.h"
#include "UserDefaults.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

class TrustEverybody final : public CertificateTrust {
public:
    void judge(const CertificateQuestion& /*question*/, std::function<void(bool)> answer) override { answer(true); }
};

/// Starts each file as soon as the one before has ended.
class Mover final : public FTPPutControllerDelegate, public FTPGetControllerDelegate {
public:
    explicit Mover(const QStringList& arguments)
        : m_sends(arguments.at(1) == u"put")
        , m_destination(arguments.at(2))
        , m_userName(arguments.at(3))
        , m_password(arguments.at(4))
        , m_files(arguments.mid(5))
    {
        m_put.setDelegate(m_anchor.ref<FTPPutControllerDelegate>(this));
        m_get.setDelegate(m_anchor.ref<FTPGetControllerDelegate>(this));
        m_put.setEncryptionSource([] { return FTPEncryption::Required; });
        m_get.setEncryptionSource([] { return FTPEncryption::Required; });
        QTimer::singleShot(0, &m_context, [this] {
            m_clock.start();
            next();
        });
    }
    Mover(const Mover&) = delete;
    Mover& operator=(const Mover&) = delete;
    virtual ~Mover()
    {
        // A controller reports a stop when it is destroyed; without a start that would be one too many.
        NetworkManager::sharedInstance().setNetworkOperationCount(2);
    }

    void percentDone(float /*percent*/) override { }
    void bytesDone(float /*bytes*/) override { }
    void updateStatus(const QString& status) override
    {
        if (status.endsWith(u" succeeded"_s)) {
            std::printf("%.1f\n", static_cast<double>(m_clock.nsecsElapsed()) / 1e6);
            QTimer::singleShot(0, &m_context, [this] {
                m_clock.restart();
                next();
            });
        } else if (status.contains(u"rror"_s)) {
            std::fprintf(stderr, "%s\n", qPrintable(status));
            QCoreApplication::exit(1);
        }
    }
    void uploadDone() override { }

private:
    void next()
    {
        if (m_files.isEmpty()) {
            QCoreApplication::exit(0);
        } else if (m_sends) {
            m_put.startSend(m_files.takeFirst(), m_destination, m_userName, m_password);
        } else {
            m_get.startReceive(m_destination + m_files.takeFirst(), m_userName, m_password, u"/dev/null"_s);
        }
    }

    bool m_sends;
    QString m_destination;
    QString m_userName;
    QString m_password;
    QStringList m_files;
    QElapsedTimer m_clock;
    QObject m_context;
    TrustEverybody m_trust;
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine, m_trust };
    UserDefaults m_defaults{ u"/nonexistent"_s };
    FTPPutController m_put{ m_streams };
    FTPGetController m_get{ m_streams, m_defaults, [](const QString&) {} };
    WeakAnchor m_anchor;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 6) {
        std::fputs("usage: TlsBench put|get DESTINATION USER PASSWORD FILE...\n", stderr);
        return 2;
    }
    const Mover mover(arguments);
    return QCoreApplication::exec();
}
