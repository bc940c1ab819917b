#include "UploadsService.h"

#include "LocalPath.h"
#include "LoopSuspension.h"
#include "UploadsInterface.h"

#include <QDBusConnectionInterface>
#include <QDBusError>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

UploadsService::UploadsService(QObject* parent, const QDBusConnection& bus, Handler handler)
    : QDBusAbstractAdaptor(parent)
    , m_bus(bus)
    , m_handler(std::move(handler))
{
    UploadsInterface::registerTypes();
    m_callers.setConnection(bus);
    m_callers.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_callers, &QDBusServiceWatcher::serviceUnregistered, this, &UploadsService::forget);
}

void UploadsService::Add(const QByteArrayList& paths, const QDBusMessage& call)
{
    m_callers.addWatchedService(call.service());
    PathList& added = m_added[call.service()];
    for (const QByteArray& path : paths) {
        added.appendBytes(path);
    }
}

void UploadsService::Start(bool isUnattended, const QDBusMessage& call)
{
    call.setDelayedReply(true);
    // Taken at once: a caller that does not wait for the answer says that they may be uploaded later.
    LoopSuspension::whenResumed(
        *this, [this, files = m_added.take(call.service()), isUnattended, call] { start(files, isUnattended, call); });
}

void UploadsService::start(const PathList& wanted, bool isUnattended, const QDBusMessage& call)
{
    const QString caller = call.service();
    if (wanted.isEmpty() || m_watches.contains(caller)) {
        m_bus.send(call.createErrorReply(QDBusError::InvalidArgs, u"There are no files, or others go up."_s));
        return;
    }
    std::unique_ptr<RequestWatch> watch = m_handler.upload(wanted, isUnattended);
    if (watch == nullptr) {
        return; // The caller hears of the end.
    }
    connect(watch.get(), &RequestWatch::ended, this,
            [this, call](const QList<FileEnd>& files) { sendFiles(call, u"Ended"_s, files); });
    connect(watch.get(), &RequestWatch::corrected, this,
            [this, call](const QList<FileEnd>& files) { sendFiles(call, u"Corrected"_s, files); });
    connect(watch.get(), &RequestWatch::over, this, [this, call, watched = watch.get()](bool haveAllArrived) {
        send(call, u"Over"_s, { haveAllArrived, watched->haveAllJoined() });
        // The one that says so is not destroyed meanwhile.
        QMetaObject::invokeMethod(
            this, [this, call] { forget(call.service()); }, Qt::QueuedConnection);
    });
    m_watches[caller] = std::move(watch);
    m_bus.send(call.createReply());
}

void UploadsService::sendFiles(const QDBusMessage& call, const QString& signal, const QList<FileEnd>& files)
{
    for (qsizetype first = 0; first < files.size(); first += UploadsInterface::mostAtOnce) {
        QByteArrayList paths;
        QStringList words;
        for (const FileEnd& file : files.mid(first, UploadsInterface::mostAtOnce)) {
            paths.append(LocalPath::toBytes(file.path));
            words.append(file.words);
        }
        send(call, signal, { QVariant::fromValue(paths), words });
    }
}

void UploadsService::send(const QDBusMessage& call, const QString& signal, const QVariantList& arguments)
{
    QDBusMessage message
        = QDBusMessage::createTargetedSignal(call.service(), call.path(), UploadsInterface::name, signal);
    message.setArguments(arguments);
    m_bus.send(message);
}

void UploadsService::forget(const QString& caller)
{
    m_callers.removeWatchedService(caller);
    m_added.remove(caller);
    if (m_watches.erase(caller) > 0 && isIdle()) {
        m_handler.becameIdle();
    }
}

void UploadsService::programEnds()
{
    if (isIdle()) {
        return;
    }
    for (const auto& [caller, watch] : m_watches) {
        watch->programEnds();
    }
    m_bus.interface()->isServiceRegistered(m_bus.baseService()); // The answer comes behind all that was sent.
}
