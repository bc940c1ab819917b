#include "ApplicationService.h"

#include "BusName.h"
#include "FileURL.h"
#include "IconSettings.h"
#include "LoopSuspension.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUrl>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// What a program that has a server of its own is called besides.
QString nameOfOwnServer(const QString& busName)
{
    return busName + u".OwnServer"_s;
}

bool isRegistered(const QDBusConnection& bus, const QString& name)
{
    return bus.isConnected() && bus.interface()->isServiceRegistered(name);
}

QDBusMessage callTo(const QString& name, const QString& method, const QVariantList& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(name, ApplicationService::objectPath(name),
                                                       u"org.freedesktop.Application"_s, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

/// The calls that hand @p files and @p action to a running program, in order; at least one.
QList<QDBusMessage> callsTo(const QString& name, const QStringList& files, const QString& action)
{
    const QVariantMap platformData;
    QList<QDBusMessage> calls;
    if (!files.isEmpty()) {
        QStringList uris;
        for (const QString& file : files) {
            uris.append(fileURI(file));
        }
        calls.append(callTo(name, u"Open"_s, { uris, platformData }));
    }
    if (!action.isNull()) {
        calls.append(callTo(name, u"ActivateAction"_s, { action, QVariantList(), platformData }));
    }
    if (calls.isEmpty()) {
        calls.append(callTo(name, u"Activate"_s, { platformData }));
    }
    return calls;
}

ApplicationService::HandOver deliver(const QDBusConnection& bus, const QString& name, const QDBusMessage& call)
{
    using HandOver = ApplicationService::HandOver;
    const QDBusMessage reply = bus.call(call, QDBus::Block, ApplicationService::callTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        return HandOver::Taken;
    }
    if (!isRegistered(bus, name)) {
        return HandOver::NobodyRuns; // It has ended meanwhile, with all that it was asked.
    }
    return QDBusError(reply).type() == QDBusError::NoReply ? HandOver::Unanswered : HandOver::Refused;
}

} // namespace

ApplicationService::ApplicationService(QObject* parent, Handler handler)
    : QDBusAbstractAdaptor(parent)
    , m_handler(std::move(handler))
{
}

QString ApplicationService::objectPath(const QString& name)
{
    QString path = u'/' + name;
    return path.replace(u'.', u'/').replace(u'-', u'_');
}

bool ApplicationService::isRunning(const QDBusConnection& bus, const QString& programName)
{
    return isRegistered(bus, busName(programName));
}

ApplicationService::HandOver ApplicationService::handOver(const QDBusConnection& bus, const QString& programName,
                                                          const QStringList& files, const QString& action)
{
    const QString name = busName(programName);
    if (!isRegistered(bus, name)) {
        return HandOver::NobodyRuns;
    }
    const QList<QDBusMessage> calls = callsTo(name, files, action);
    const HandOver result = deliver(bus, name, calls.first());
    if (result == HandOver::Taken && calls.size() > 1) {
        deliver(bus, name, calls.last()); // The files are in good hands, whatever becomes of the action.
    }
    return result;
}

void ApplicationService::askWhetherRuns(const QDBusConnection& bus, const QString& programName, QObject* context,
                                        std::function<void(std::optional<bool>)> answer)
{
    if (!bus.isConnected()) { // It would never answer.
        QMetaObject::invokeMethod(
            context, [answer = std::move(answer)] { answer(std::nullopt); }, Qt::QueuedConnection);
        return;
    }
    static const QString daemon = u"org.freedesktop.DBus"_s;
    QDBusMessage call = QDBusMessage::createMethodCall(daemon, u"/org/freedesktop/DBus"_s, daemon, u"NameHasOwner"_s);
    call.setArguments({ busName(programName) });
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), context);
    connect(watcher, &QDBusPendingCallWatcher::finished, context,
            [answer = std::move(answer)](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                const QDBusPendingReply<bool> reply = *finished;
                answer(reply.isValid() ? std::optional(reply.value()) : std::nullopt);
            });
}

bool ApplicationService::hasOtherServer(const QDBusConnection& bus, const QString& programName)
{
    const auto holderOf = [&bus](const QString& name) {
        return bus.isConnected() ? bus.interface()->serviceOwner(name).value() : QString();
    };
    const QString name = busName(programName);
    const QString holder = holderOf(name);
    // Another one may have that name for a moment, which is about to find the first one taken.
    return !holder.isEmpty() && (holderOf(nameOfOwnServer(name)) == holder) != IconSettings::areInUse();
}

bool ApplicationService::registerFor(QDBusConnection bus, const QString& programName)
{
    const QString name = busName(programName);
    if (IconSettings::areInUse() && bus.isConnected()) {
        // First: whoever finds the other one looks for this. Where another program has it at this moment, one of the
        // two does not get the other name, and gives this one back.
        bus.interface()->registerService(nameOfOwnServer(name), QDBusConnectionInterface::QueueService);
    }
    const bool isRegistered
        = bus.registerObject(objectPath(name), parent(), QDBusConnection::ExportAdaptors) && bus.registerService(name);
    if (!isRegistered) {
        bus.unregisterService(nameOfOwnServer(name)); // Of another program it stays.
    }
    return isRegistered;
}

void ApplicationService::Activate(const QVariantMap& /*platformData*/, const QDBusMessage& call)
{
    serve(call, [this] {
        m_handler.activate();
        return true;
    });
}

void ApplicationService::Open(const QStringList& uris, const QVariantMap& /*platformData*/, const QDBusMessage& call)
{
    PathList files;
    QStringList others;
    for (const QString& uri : uris) {
        if (const QByteArray path = localPathBytes(uri.toUtf8()); path.isNull()) {
            others.append(uri);
        } else {
            files.appendBytes(path);
        }
    }
    serve(call, [this, files, others] {
        m_handler.activate();
        return (files.isEmpty() && others.isEmpty()) || m_handler.open(files, others);
    });
}

void ApplicationService::ActivateAction(const QString& name, const QVariantList& /*parameter*/,
                                        const QVariantMap& /*platformData*/, const QDBusMessage& call)
{
    serve(call, [this, name] {
        m_handler.activate();
        m_handler.action(name);
        return true;
    });
}

void ApplicationService::serve(const QDBusMessage& call, std::function<bool()> service)
{
    call.setDelayedReply(true);
    LoopSuspension::whenResumed(*this, [call, service = std::move(service)] {
        if (service() && call.isReplyRequired()) {
            QDBusConnection::sessionBus().send(call.createReply());
        }
    });
}
