#include "LauncherProgress.h"

#include <QDBusMessage>
#include <QVariantMap>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

LauncherProgress::LauncherProgress(QDBusConnection sessionBus, const QString& desktopEntry)
    : m_bus(std::move(sessionBus))
    , m_launcher(u"application://%1.desktop"_s.arg(desktopEntry))
    , m_path(u"/com/canonical/unity/launcherentry/%1"_s.arg(qHash(m_launcher)))
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(250ms);
    connect(&m_pause, &QTimer::timeout, this, &LauncherProgress::sendIfChanged);
}

void LauncherProgress::setProgress(std::optional<double> progress)
{
    m_progress = progress;
    if (!m_pause.isActive()) {
        sendIfChanged();
    }
}

void LauncherProgress::sendIfChanged()
{
    if (m_progress != m_sent) {
        send();
        m_pause.start();
    }
}

void LauncherProgress::send()
{
    m_sent = m_progress;
    QDBusMessage update = QDBusMessage::createSignal(m_path, u"com.canonical.Unity.LauncherEntry"_s, u"Update"_s);
    update << m_launcher
           << QVariantMap{ { u"progress"_s, m_progress.value_or(0) },
                           { u"progress-visible"_s, m_progress.has_value() } };
    m_bus.send(update);
}
