#include "UserDefaults.h"

#include "Descriptor.h"
#include "PrivateFile.h"
#include "RunLoop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QStandardPaths>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 maximumFileSize = qint64(1024) * 1024;
/// Two changes of a file within one tick of the kernel's clock carry the same time.
constexpr std::chrono::nanoseconds clockTick = std::chrono::milliseconds(20);
/// How long an editor may take between emptying a file and writing it.
constexpr int brokenReportDelayMs = 100;
constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

/// The contents of the regular file at @p path; std::nullopt when there is none, it cannot be read, or it is too long.
std::optional<QByteArray> contents(const QString& path)
{
    // A named pipe must not make anybody wait.
    const Descriptor file(open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status { };
    if (file.get() < 0 || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)
        || status.st_size > maximumFileSize) {
        return std::nullopt;
    }
    // One byte more than there should be, to notice a file that has grown.
    QByteArray bytes(static_cast<qsizetype>(status.st_size) + 1, Qt::Uninitialized);
    qsizetype length = 0;
    ssize_t count = 0;
    do {
        count = read(file.get(), bytes.data() + length, static_cast<size_t>(bytes.size() - length));
        length += count > 0 ? count : 0;
    } while (count > 0 ? length < bytes.size() : count < 0 && errno == EINTR);
    bytes.truncate(length);
    return count < 0 ? std::nullopt : std::optional(bytes);
}

} // namespace

UserDefaults& UserDefaults::standard()
{
    static UserDefaults defaults(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation)
                                 + u"/settings.json"_s);
    return defaults;
}

std::optional<QJsonObject> UserDefaults::valuesIn(const QString& filePath)
{
    const std::optional<QByteArray> bytes = contents(filePath);
    const QJsonDocument document = bytes ? QJsonDocument::fromJson(*bytes) : QJsonDocument();
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

UserDefaults::UserDefaults(QString filePath, Absence absence)
    : m_filePath(std::move(filePath))
    , m_absence(absence)
{
}

UserDefaults::Reading::Reading(const UserDefaults& defaults)
    : m_defaults(defaults)
{
    defaults.refresh();
    ++defaults.m_readings;
}

bool UserDefaults::contains(const QString& key) const
{
    refresh();
    return m_values.contains(key);
}

bool UserDefaults::isReadable() const
{
    refresh();
    return !m_broken;
}

QJsonObject UserDefaults::values() const
{
    refresh();
    return m_values;
}

QJsonValue UserDefaults::lastKnown(const QString& key) const
{
    refresh();
    return m_lastKnown.value(key);
}

bool UserDefaults::isLastKnown() const
{
    refresh();
    return !m_broken || !m_lastKnown.isEmpty();
}

QString UserDefaults::string(const QString& key) const
{
    refresh();
    const QJsonValue value = m_values.value(key);
    if (!value.isString()) {
        return QString();
    }
    const QString text = value.toString();
    return text.isNull() ? u""_s : text;
}

std::optional<bool> UserDefaults::boolean(const QString& key) const
{
    refresh();
    const QJsonValue value = m_values.value(key);
    return value.isBool() ? std::optional(value.toBool()) : std::nullopt;
}

bool UserDefaults::store(const QHash<QString, QJsonValue>& values)
{
    if (!readFile()) {
        return false; // Nobody knows what would be replaced.
    }
    QJsonObject changed = m_values;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        if (it.value().isNull()) {
            changed.remove(it.key());
        } else {
            changed.insert(it.key(), it.value());
        }
    }
    return write(changed, m_broken);
}

bool UserDefaults::replace(const QJsonObject& values)
{
    return write(values, true);
}

bool UserDefaults::write(const QJsonObject& values, bool keepsOldFile)
{
    const QByteArray bytes = QJsonDocument(values).toJson();
    if (bytes.size() > maximumFileSize) {
        return false;
    }
    if (!keepsOldFile) {
        return PrivateFile::replace(m_filePath, bytes);
    }
    const QString target = PrivateFile::behindLinks(m_filePath);
    const bool holdsNothing = !QFileInfo(target).isSymLink() && !QFileInfo::exists(target);
    if (!holdsNothing && !keepFile(target)) {
        return false;
    }
    const bool written = PrivateFile::replace(m_filePath, bytes);
    if (!holdsNothing && !written) {
        QFile::rename(backupPath(), target); // Unless it is still in place.
        QFile::remove(backupPath());
    }
    return written;
}

void UserDefaults::removeUnfinishedStores() const
{
    PrivateFile::removeUnfinished(m_filePath);
}

void UserDefaults::setBrokenFileHandler(std::function<void()> handler)
{
    m_brokenFileHandler = std::move(handler);
    if (m_reportPending) {
        scheduleBrokenReport();
    }
}

void UserDefaults::setOpenFileHandler(std::function<void(PrivateFile::Access)> handler)
{
    m_openFileHandler = std::move(handler);
    refresh();
    scheduleOpenReport();
}

PrivateFile::Access UserDefaults::takeOpenReport()
{
    refresh();
    return std::exchange(m_unreported, {});
}

UserDefaults::Stamp UserDefaults::stampOfFile() const
{
    struct stat status { };
    if (stat(QFile::encodeName(m_filePath).constData(), &status) != 0) {
        return Stamp{ .error = errno };
    }
    return Stamp{ .device = status.st_dev,
                  .inode = status.st_ino,
                  .size = status.st_size,
                  .changedNs = qint64(status.st_ctim.tv_sec) * 1'000'000'000 + status.st_ctim.tv_nsec };
}

bool UserDefaults::isAbsent() const
{
    const int error = stampOfFile().error;
    return error == ENOENT || error == ENOTDIR;
}

void UserDefaults::refresh() const
{
    if (m_readings == 0 && m_stamp != stampOfFile()) {
        readFile();
    }
}

/// False when it cannot be looked at for the moment.
bool UserDefaults::readFile() const
{
    note(PrivateFile::closeToOthers(m_filePath));
    // Taken first: whatever changes from here on makes the next read look again.
    const Stamp stamp = stampOfFile();
    errno = 0;
    const std::optional<QJsonObject> values = stamp.error == 0 ? valuesIn(m_filePath) : std::nullopt;
    if (errno == EMFILE || errno == ENFILE) {
        return false; // What is known holds until there is a descriptor to read with.
    }
    m_values = values.value_or(QJsonObject());
    const bool isAbsent = stamp.error == ENOENT || stamp.error == ENOTDIR;
    m_broken = !values && !(isAbsent && m_absence == Absence::IsInOrder);
    if (!m_values.isEmpty()) {
        m_lastKnown = m_values;
    }

    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto age = std::chrono::abs(now - std::chrono::nanoseconds(stamp.changedNs));
    m_stamp = age < clockTick ? std::nullopt : std::optional(stamp);

    if (m_broken && m_brokenStamp != stamp && !std::exchange(m_reportPending, true)) {
        scheduleBrokenReport();
    }
    m_brokenStamp = m_broken ? std::optional(stamp) : std::nullopt;
    return true;
}

void UserDefaults::noteAccess() const
{
    note({ .had = PrivateFile::rightsOfOthers(m_filePath), .have = {} });
}

void UserDefaults::note(PrivateFile::Access access) const
{
    if (m_noted.had) {
        access.had.setFlag(PrivateFile::Right::None, false); // Of no interest beside what others could do.
    }
    const PrivateFile::Access news{ access.had & ~m_noted.had, access.have & ~m_noted.have };
    if (news.had || news.have) {
        m_noted = { m_noted.had | access.had, m_noted.have | access.have };
        m_unreported = { m_unreported.had | access.had, m_unreported.have | access.have };
        scheduleOpenReport();
    }
}

void UserDefaults::scheduleOpenReport() const
{
    if (m_openFileHandler == nullptr || !m_unreported.had) {
        return;
    }
    RunLoop::dispatchAfter(0, nullptr, [self = m_anchor.ref(this)] {
        if (self.get() == nullptr) {
            return;
        }
        const PrivateFile::Access access = std::exchange(self.get()->m_unreported, {});
        if (access.had) {
            self.get()->m_openFileHandler(access);
        }
    });
}

void UserDefaults::scheduleBrokenReport() const
{
    if (m_brokenFileHandler == nullptr) {
        return;
    }
    RunLoop::dispatchAfter(brokenReportDelayMs, nullptr, [self = m_anchor.ref(this)] {
        if (self.get() != nullptr) {
            self.get()->reportIfStillBroken();
        }
    });
}

void UserDefaults::reportIfStillBroken() const
{
    refresh();
    m_reportPending = false;
    if (m_broken && m_brokenFileHandler != nullptr) {
        // A copy: the handler may set another one.
        const auto handler = m_brokenFileHandler;
        handler();
    }
}

QString UserDefaults::backupPath() const
{
    return m_filePath + u".bak"_s;
}

bool UserDefaults::keepFile(const QString& target) const
{
    QFile::remove(backupPath());
    const QFileInfo old(target);
    if (old.isSymLink() || !old.isFile()) {
        return QFile::rename(target, backupPath());
    }
    // It stays in place until the new one takes that: whoever is killed between leaves one of them there.
    QFile::setPermissions(target, ownerOnly);
    return link(QFile::encodeName(target).constData(), QFile::encodeName(backupPath()).constData()) == 0
        || QFile::copy(target, backupPath());
}
