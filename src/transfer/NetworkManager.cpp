#include "NetworkManager.h"

#include "DelayedAlert.h"
#include "PathText.h"
#include "StandardFolders.h"
#include "URLText.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QThread>
#include <QUuid>

#include <cstdio>
#include <cstdlib>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

NetworkManager::ReachabilitySource& installedSource()
{
    static NetworkManager::ReachabilitySource source;
    return source;
}

/// Ends the process unless @p holds, in every build: a count that has gone wrong is not carried on with.
void require(bool holds, const char* expression, const char* operation)
{
    if (!holds) {
        std::fprintf(stderr, "Assertion failed: %s, %s, NetworkManager\n", expression, operation);
        std::abort();
    }
}

void requireMainThread(const char* operation)
{
    const QCoreApplication* application = QCoreApplication::instance();
    require(application != nullptr && QThread::currentThread() == application->thread(), "[NSThread isMainThread]",
            operation);
}

bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

QString withoutBlanksAround(const QString& text)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && isBlank(text.at(start))) {
        ++start;
    }
    while (end > start && isBlank(text.at(end - 1))) {
        --end;
    }
    return text.mid(start, end - start);
}

/// What the kernel says. That there is a route holds for a second: to ask means to read all of them, and many small
/// files start in that time.
bool hasRoute()
{
    constexpr qint64 validMs = 1000;
    static QElapsedTimer sinceFound;
    if (sinceFound.isValid() && !sinceFound.hasExpired(validMs)) {
        return true;
    }
    const bool isFound = isReachable(reachabilityFlags());
    if (isFound) {
        sinceFound.start();
    }
    return isFound;
}

} // namespace

NetworkManager& NetworkManager::sharedInstance()
{
    // Never destroyed: controllers may report a stop while the process ends.
    static NetworkManager& instance = *new NetworkManager;
    return instance;
}

bool NetworkManager::hasConnectivity()
{
    const ReachabilitySource& source = installedSource();
    return source != nullptr ? isReachable(source()) : hasRoute();
}

void NetworkManager::setReachabilitySource(ReachabilitySource source)
{
    installedSource() = std::move(source);
}

QString NetworkManager::smartURLForString(const QString& string) const
{
    if (string.isNull()) {
        return QString();
    }
    if (!hasConnectivity()) {
        ShowAlertAfterDelay(u"No Internet Connection."_s,
                            u"There seems to be no internet connection. The operation may fail."_s);
    }
    const QString address = withoutBlanksAround(string);
    if (address.isEmpty()) {
        return QString();
    }
    const qsizetype schemeEnd = address.indexOf("://"_L1);
    if (schemeEnd >= 0 && address.left(schemeEnd).compare("ftp"_L1, Qt::CaseInsensitive) != 0) {
        return QString();
    }
    const QString url = schemeEnd < 0 ? u"ftp://"_s + address : address;
    return URLText::isURLText(url) && URLText::hasReadableAuthority(url) ? url : QString();
}

QString NetworkManager::pathForDownloadFileWithFilename(const QString& filename, const QString& toFile) const
{
    if (!toFile.isNull()) {
        return toFile;
    }
    if (!PathText::isFileName(filename)) {
        return QString();
    }
    const QString folder = downloadsDirectoryPath();
    // New accounts have no such folder yet, and the download would fail at its first byte.
    if (folder.isNull() || !QDir().mkpath(folder)) {
        return QString();
    }
    const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + u'-';
    return PathText::appendingPathComponent(folder, unique + PathText::localFileName(filename, unique.size()));
}

void NetworkManager::didStartNetworkOperation()
{
    requireMainThread("-[NetworkManager didStartNetworkOperation]");
    ++m_networkOperationCount;
}

void NetworkManager::didStopNetworkOperation()
{
    requireMainThread("-[NetworkManager didStopNetworkOperation]");
    require(m_networkOperationCount > 0, "self.networkOperationCount > 0", "-[NetworkManager didStopNetworkOperation]");
    --m_networkOperationCount;
}
