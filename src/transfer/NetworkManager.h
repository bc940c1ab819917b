#pragma once

#include "Reachability.h"

#include <QString>

#include <functional>
#include <optional>

/// What the stream controllers share: the way from typed addresses to locations, the place of downloads without one,
/// and the count of running operations. Belongs to the main thread, except for sharedInstance().
class NetworkManager {
public:
    using ReachabilitySource = std::function<std::optional<ReachabilityFlags>()>;

    /// The only one there is; it lives as long as the process. Safe from any thread.
    static NetworkManager& sharedInstance();
    NetworkManager(const NetworkManager&) = delete;
    NetworkManager& operator=(const NetworkManager&) = delete;

    /// Whether this machine is connected to anything at all. Says nothing about a server.
    static bool hasConnectivity();
    /// Replaces the source of hasConnectivity(); null brings the kernel's word back.
    static void setReachabilitySource(ReachabilitySource source);

    /// The FTP location that @p string stands for: blanks and tabs around it are dropped, "ftp://" is put before an
    /// address without a scheme. Null for null, for nothing but blanks, another scheme, and what cannot stand in a URL.
    /// Warns the user a second later when there is no connection, and answers all the same.
    QString smartURLForString(const QString& string) const;

    /// Where a download of @p filename goes: @p toFile unchanged, unless that is null; then a file of a name that
    /// never comes twice in the Downloads folder, which is made when it is missing. Of a @p filename too long for that
    /// it holds the beginning and the extension. Null when there can be no such folder, and for a @p filename that is
    /// none: see PathText::isFileName().
    QString pathForDownloadFileWithFilename(const QString& filename, const QString& toFile) const;

    /// An operation has started. Ends the process when called on another thread than the main one.
    void didStartNetworkOperation();
    /// An operation has stopped. Ends the process when called on another thread than the main one, or when none runs.
    void didStopNetworkOperation();

    /// Operations that have reported a start and not yet a stop.
    quint64 networkOperationCount() const { return m_networkOperationCount; }
    void setNetworkOperationCount(quint64 count) { m_networkOperationCount = count; }

private:
    NetworkManager() = default;
    ~NetworkManager() = default;

    quint64 m_networkOperationCount = 0;
};
