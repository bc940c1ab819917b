#include "FileChooserPortal.h"

#include "FileURL.h"
#include "LocalPath.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString requestInterface = u"org.freedesktop.portal.Request"_s;

/// That a portal takes to say that it shows a dialog; it may have to be started for that.
constexpr int answerLimitMs = 5000;

} // namespace

FileChooserPortal::FileChooserPortal(QDBusConnection sessionBus)
    : m_bus(std::move(sessionBus))
{
}

void FileChooserPortal::open(const Question& question)
{
    dismiss();
    if (!m_bus.isConnected()) {
        emit unavailable();
        return;
    }
    const QString token = u"choice%1"_s.arg(++m_count);
    // The answer may come before that to the call; so its sender has to be known before.
    const QString sender = m_bus.baseService().mid(1).replace(u'.', u'_');
    expectAnswerOf(u"%1/request/%2/%3"_s.arg(portalPath, sender, token));

    const bool isToSave = !question.nameToSave.isEmpty();
    QVariantMap options{ { u"handle_token"_s, token } };
    isToSave ? options.insert(u"current_name"_s, question.nameToSave) : options.insert(u"multiple"_s, true);
    if (!question.acceptLabel.isEmpty()) {
        options.insert(u"accept_label"_s, question.acceptLabel);
    }
    if (!question.folder.isEmpty()) {
        options.insert(u"current_folder"_s, LocalPath::toBytes(question.folder) + '\0');
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        portalService, portalPath, u"org.freedesktop.portal.FileChooser"_s, isToSave ? u"SaveFile"_s : u"OpenFile"_s);
    call << question.parentWindow << question.title << options;
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, answerLimitMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, request = m_request] {
        if (request == m_request) { // Not about a dialog that is no longer wanted.
            called(*watcher);
        }
        watcher->deleteLater();
    });
}

void FileChooserPortal::called(const QDBusPendingCallWatcher& watcher)
{
    const QDBusPendingReply<QDBusObjectPath> reply = watcher;
    m_portal = reply.reply().service();
    if (reply.isError()) {
        dismiss(); // It may only have been slow.
        emit unavailable();
    } else if (reply.value().path() != m_request) {
        expectAnswerOf(reply.value().path()); // Portals before version 0.9 choose the path themselves.
    }
}

void FileChooserPortal::expectAnswerOf(const QString& request)
{
    // From any sender: asking for the service's owner would wait for the bus.
    if (!m_request.isEmpty()) {
        m_bus.disconnect(QString(), m_request, requestInterface, u"Response"_s, this,
                         SLOT(responded(uint, QVariantMap, QDBusMessage)));
    }
    if (!request.isEmpty()) {
        m_bus.connect(QString(), request, requestInterface, u"Response"_s, this,
                      SLOT(responded(uint, QVariantMap, QDBusMessage)));
    }
    m_request = request;
}

void FileChooserPortal::dismiss()
{
    if (!m_request.isEmpty()) {
        m_bus.call(QDBusMessage::createMethodCall(portalService, m_request, requestInterface, u"Close"_s),
                   QDBus::NoBlock);
        expectAnswerOf(QString());
    }
}

void FileChooserPortal::responded(uint response, const QVariantMap& results, const QDBusMessage& message)
{
    if (message.service() != m_portal) {
        return; // Somebody else would have files of their choice uploaded.
    }
    expectAnswerOf(QString());
    QStringList paths;
    for (const QString& uri : results.value(u"uris"_s).toStringList()) {
        if (const QString local = localPath(uri.toUtf8()); !local.isNull()) {
            paths.append(local);
        }
    }
    if (response == 0 && !paths.isEmpty()) {
        emit filesSelected(paths);
    }
}
