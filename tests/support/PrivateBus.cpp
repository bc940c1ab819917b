#include "PrivateBus.h"

#include <QDBusMessage>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;

PrivateBus::PrivateBus()
{
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.start(
        u"dbus-daemon"_s,
        { u"--session"_s, u"--nofork"_s, u"--print-address=1"_s, u"--address=unix:dir="_s + m_folder.path() });
    while (!m_daemon.canReadLine()) {
        if (!m_daemon.waitForReadyRead()) {
            throw std::runtime_error("no message bus: is dbus-daemon installed?");
        }
    }
    m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
    for (const QString& name : { programName, serviceName }) {
        if (!QDBusConnection::connectToBus(m_address, name).isConnected()) {
            throw std::runtime_error("no connection to a message bus of our own");
        }
    }
}

PrivateBus::~PrivateBus()
{
    for (const QString& name : { programName, serviceName }) {
        QDBusConnection::disconnectFromBus(name);
    }
    m_daemon.kill();
    m_daemon.waitForFinished();
}

void PrivateBus::serve(const QString& name, const QString& path, QObject& object)
{
    QDBusConnection service = serviceConnection();
    if (!service.registerObject(path, &object, QDBusConnection::ExportAllSlots) || !service.registerService(name)) {
        throw std::runtime_error("the name of the service is taken");
    }
}
