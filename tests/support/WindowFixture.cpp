#include "WindowFixture.h"

#include "NetworkManager.h"
#include "ProgramName.h"
#include "UserDefaults.h"
#include "WaitFor.h"

#include <QFile>

WindowFixture::WindowFixture(FTPStreamFactory& streams, FTPConnections& connections, const Settings& settings,
                             const QString& programName)
    : m_factory(streams)
    , m_factoryConnections(connections)
{
    setProgramFileName(programName);
    NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
    set(settings);
    m_controller = std::make_unique<ViewController>(m_factory, m_factoryConnections);
}

WindowFixture::~WindowFixture()
{
    destroyController();
    NetworkManager::setReachabilitySource(nullptr);
    QFile::remove(UserDefaults::standard().filePath());
    setProgramFileName(QString());
}

void WindowFixture::destroyController()
{
    NetworkManager::sharedInstance().setNetworkOperationCount(100);
    m_controller.reset();
    NetworkManager::sharedInstance().setNetworkOperationCount(0);
}

void WindowFixture::startAgain()
{
    destroyController();
    m_controller = std::make_unique<ViewController>(m_factory, m_factoryConnections);
    m_controller->window().show();
}

void WindowFixture::set(const Settings& settings)
{
    EXPECT_TRUE(UserDefaults::standard().store(settings));
}

QString WindowFixture::makeFile(const QString& name, const QByteArray& bytes) const
{
    QFile file(m_directory.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << name.toStdString();
    file.write(bytes);
    return file.fileName();
}

bool WindowFixture::isIdle() const
{
    return m_controller->fileUploadQueue().isEmpty() && !m_controller->pc().isSending()
        && !m_controller->gc().isReceiving() && !m_controller->lc().isReceiving() && !m_controller->cc().isCreating();
}

bool WindowFixture::waitUntilIdle(std::chrono::milliseconds limit)
{
    return waitFor(
        [this] {
            tick();
            return isIdle();
        },
        limit);
}

QStringList WindowFixture::listedNames() const
{
    QStringList names;
    for (qsizetype row = 0; row < m_controller->listEntries().size(); ++row) {
        names.append(m_controller->listEntries().at(row).name);
    }
    return names;
}
