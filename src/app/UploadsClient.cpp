#include "UploadsClient.h"

#include "ApplicationService.h"
#include "BusName.h"
#include "LocalPath.h"
#include "UploadsInterface.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusPendingCallWatcher>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QList<FileEnd> filesOf(const QByteArrayList& paths, const QStringList& words)
{
    QList<FileEnd> files;
    for (qsizetype i = 0; i < std::min(paths.size(), words.size()); ++i) {
        files.append({ LocalPath::fromBytes(paths[i]), words[i] });
    }
    return files;
}

} // namespace

UploadsClient::UploadsClient(const QDBusConnection& bus, const QString& programName)
    : m_bus(bus)
    , m_name(busName(programName))
    , m_path(ApplicationService::objectPath(m_name))
    , m_program(m_name, bus, QDBusServiceWatcher::WatchForUnregistration)
{
    UploadsInterface::registerTypes();
    const auto hear = [this](const char* signal, const char* slot) {
        m_bus.connect(m_name, m_path, UploadsInterface::name, QString::fromLatin1(signal), this, slot);
    };
    hear("Ended", SLOT(receiveEnded(QByteArrayList, QStringList)));
    hear("Corrected", SLOT(receiveCorrected(QByteArrayList, QStringList)));
    hear("Over", SIGNAL(over(bool, bool)));
    connect(&m_program, &QDBusServiceWatcher::serviceUnregistered, this, &UploadsClient::tellOfLoss);
    m_bus.connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s, u"Disconnected"_s, this,
                  SIGNAL(busLost()));
}

void UploadsClient::upload(const QStringList& files, bool areUnattended)
{
    m_areUnattended = areUnattended;
    for (const QString& file : files) {
        m_files.append(LocalPath::toBytes(file));
    }
    addNext();
}

/// One piece after the other, so that no more than one is under way.
void UploadsClient::addNext()
{
    const bool isLast = m_added >= m_files.size();
    QDBusMessage call
        = QDBusMessage::createMethodCall(m_name, m_path, UploadsInterface::name, isLast ? u"Start"_s : u"Add"_s);
    call.setAutoStartService(false);
    if (isLast) {
        call.setArguments({ m_areUnattended });
    } else {
        call.setArguments({ QVariant::fromValue(m_files.mid(m_added, UploadsInterface::mostAtOnce)) });
        m_added += UploadsInterface::mostAtOnce;
    }
    auto* const answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call, ApplicationService::callTimeoutMs), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, isLast] {
        answer->deleteLater();
        if (!answer->isError()) {
            isLast ? emit taken() : addNext();
        } else if (!m_bus.isConnected()) {
            return; // That is told.
        } else if (m_bus.interface()->isServiceRegistered(m_name)) {
            refuse(answer->error(), isLast);
        } else {
            tellOfLoss(); // It may have gone before it was watched.
        }
    });
}

void UploadsClient::tellOfLoss()
{
    if (!std::exchange(m_isLost, true)) {
        emit lost();
    }
}

void UploadsClient::refuse(const QDBusError& error, bool mayBeTaken)
{
    if (error.type() != QDBusError::NoReply) {
        emit refused(u"The window that is open refuses what it is asked."_s);
    } else if (mayBeTaken) {
        emit unanswered();
    } else {
        emit refused(u"The window that is open does not answer."_s);
    }
}

void UploadsClient::receiveEnded(const QByteArrayList& paths, const QStringList& words)
{
    emit ended(filesOf(paths, words));
}

void UploadsClient::receiveCorrected(const QByteArrayList& paths, const QStringList& words)
{
    emit corrected(filesOf(paths, words));
}
