#include "DesktopServices.h"

#include <QDBusMessage>

#include <array>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

using namespace Qt::StringLiterals;

uint NotificationService::Notify(const QString& application, uint replaces, const QString& itsIcon,
                                 const QString& summary, const QString& body, const QStringList& /*actions*/,
                                 const QVariantMap& itsHints, int /*timeout*/)
{
    shown.append(QStringList{ application, summary, body }.join(u": "_s));
    replaced.append(replaces);
    icon = itsIcon;
    hints = itsHints;
    return 7;
}

LoginManager::~LoginManager()
{
    closeOurEnd();
}

bool LoginManager::isLocked() const
{
    char byte = 0;
    return m_ourEnd >= 0 && ::read(m_ourEnd, &byte, 1) != 0; // The end of the pipe, or nothing yet.
}

QDBusUnixFileDescriptor LoginManager::Inhibit(const QString& what, const QString& who, const QString& why,
                                              const QString& mode)
{
    asked.append(QStringList{ what, who, why, mode }.join(u", "_s));
    closeOurEnd();
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::runtime_error("no pipe");
    }
    m_ourEnd = ends[0];
    QDBusUnixFileDescriptor lock(ends[1]); // Takes a copy.
    ::close(ends[1]);
    return lock;
}

void LoginManager::closeOurEnd()
{
    if (m_ourEnd >= 0) {
        ::close(m_ourEnd);
    }
}

uint PowerManager::Inhibit(const QString& who, const QString& why)
{
    asked.append(u"Inhibit %1, %2"_s.arg(who, why));
    return 42;
}

void PowerManager::UnInhibit(uint cookie)
{
    asked.append(u"UnInhibit %1"_s.arg(cookie));
}

QDBusObjectPath FileChooserService::OpenFile(const QString& window, const QString& title, const QVariantMap& itsOptions)
{
    asked.append(u"%1: %2"_s.arg(window, title));
    return show(itsOptions);
}

QDBusObjectPath FileChooserService::SaveFile(const QString& window, const QString& title, const QVariantMap& itsOptions)
{
    asked.append(u"%1: %2; save"_s.arg(window, title));
    return show(itsOptions);
}

QDBusMessage FileChooserService::response(uint code, const QStringList& uris) const
{
    QDBusMessage message = QDBusMessage::createSignal(request, u"org.freedesktop.portal.Request"_s, u"Response"_s);
    message << code << QVariantMap{ { u"uris"_s, uris } };
    return message;
}

QDBusObjectPath FileChooserService::show(const QVariantMap& itsOptions)
{
    options = itsOptions;
    request = ownPath;
    if (request.isEmpty()) {
        const QString sender = message().service().mid(1).replace(u'.', u'_');
        request = u"%1/request/%2/%3"_s.arg(path, sender, options.value(u"handle_token"_s).toString());
    }
    m_requests.push_back(std::make_unique<PortalRequest>([this, closing = request] { closed.append(closing); }));
    connection().registerObject(request, m_requests.back().get(), QDBusConnection::ExportAllSlots);
    return QDBusObjectPath(request);
}

void Dock::listen(QDBusConnection bus)
{
    bus.connect(QString(), QString(), u"com.canonical.Unity.LauncherEntry"_s, u"Update"_s, this,
                SLOT(update(QString, QVariantMap)));
}

void Dock::update(const QString& launcher, const QVariantMap& properties)
{
    const bool isVisible = properties.value(u"progress-visible"_s).toBool();
    const QString progress = isVisible ? QString::number(properties.value(u"progress"_s).toDouble()) : u"none"_s;
    heard.append(u"%1, %2"_s.arg(launcher, progress));
}
