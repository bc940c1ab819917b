#include "DestinationWatch.h"

#include "IconSettings.h"
#include "UserDefaults.h"

#include <QDateTime>
#include <QFileInfo>

using namespace std::chrono_literals;

DestinationWatch::DestinationWatch(QObject& parent)
    : QObject(&parent)
{
    m_quiet.setSingleShot(true);
    connect(&m_quiet, &QTimer::timeout, this, &DestinationWatch::check);
}

void DestinationWatch::destinationChanged()
{
    m_quiet.start(quietTime);
}

/// How long ago the settings file has changed, be it written or replaced by another; longer than that when its time
/// says nothing.
std::chrono::milliseconds DestinationWatch::ageOfSettings()
{
    const QFileInfo file(connectionSettings().filePath());
    const qint64 age = file.fileTime(QFile::FileMetadataChangeTime).msecsTo(QDateTime::currentDateTime());
    return age < 0 || !file.exists() ? quietTime : std::chrono::milliseconds(age);
}

void DestinationWatch::check()
{
    if (const auto age = ageOfSettings(); age < quietTime) {
        m_quiet.start(quietTime - age);
    } else if (connectionSettings().isReadable() || IconSettings::areInUse()) {
        emit settled();
    } else {
        m_quiet.start(quietTime);
    }
}
