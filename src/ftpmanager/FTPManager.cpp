#include "FTPManager.h"

#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FMThread.h"
#include "FTPEngine.h"
#include "FTPLocation.h"
#include "FTPManagerLog.h"
#include "FTPManagerStrings.h"
#include "FileOutputStream.h"
#include "FileURL.h"
#include "LocalItem.h"
#include "UploadSource.h"

#include <QUrl>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// Runs @p operation on a worker thread; a worker that could not be made answers like a failed operation.
template <typename Result> Result onWorkerThread(const std::function<Result()>& operation)
{
    Result result{};
    FMThread::runInSeparateThread([&result, &operation] { result = operation(); });
    return result;
}

/// Whether @p name would lead from a folder to one outside of it, or be cut at a NUL.
bool leavesFolder(const QString& name)
{
    return name.contains(QChar::Null) || name.split(u'/').contains(u".."_s);
}

/// @p timeouts as they hold for @p server.
FTPTimeouts limitsFor(const FMServer& server, FTPTimeouts timeouts)
{
    if (server.isCareful()) {
        timeouts.reply = std::min(timeouts.reply, timeouts.careful);
    }
    return timeouts;
}

/// Has @p engine connect to the address that @p server gives, if it gives one.
void useAddress(FTPEngine& engine, const FMServer& server)
{
    const QHostAddress address = server.address();
    if (address.isNull()) {
        return;
    }
    if (const auto location = FTPLocation::fromText(ftpURLForPort(server.destination(), server.port()))) {
        engine.setAddress(location->host, location->port, address);
    }
}

} // namespace

FTPManager::FTPManager(const FTPTimeouts& timeouts)
    : m_timeouts(timeouts)
{
}

FTPManager::FTPManager(FTPStreamFactory& streams)
    : m_streams(&streams)
{
}

FTPManager::~FTPManager() = default;

/// Runs @p operation like onWorkerThread(), with m_streams set.
template <typename Result>
Result FTPManager::runOnStreams(const FMServer& server, const std::function<Result()>& operation)
{
    if (m_streams != nullptr) {
        return onWorkerThread(operation);
    }
    return onWorkerThread<Result>([this, &server, &operation] {
        FTPEngine engine(limitsFor(server, m_timeouts));
        useAddress(engine, server);
        EngineStreamFactory streams(engine);
        m_streams = &streams;
        Result result = operation();
        m_streams = nullptr;
        if (server.isCareful()) {
            EngineConnections(engine).closeIdleConnections(ftpURLForPort(server.destination(), server.port()));
        }
        return result;
    });
}

bool FTPManager::uploadData(const QByteArray& data, const QString& fileName, const FMServer* server)
{
    if (!_checkFMServer(server) || data.isNull()) {
        return false;
    }
    return runOnStreams<bool>(*server, [&] { return _uploadData(data, fileName, *server); });
}

bool FTPManager::uploadFile(const QUrl& fileURL, const FMServer* server)
{
    if (!_checkFMServer(server) || fileURL.isEmpty()) {
        return false;
    }
    const std::optional<LocalItem> file = LocalItem::at(localPath(fileURL));
    if (!file || file->isFolder) {
        return false;
    }
    return runOnStreams<bool>(*server, [&] { return _uploadFile(fileURL, *server); });
}

bool FTPManager::createNewFolder(const QString& name, const FMServer* server)
{
    if (!_checkFMServer(server) || name.isEmpty()) {
        return false;
    }
    return runOnStreams<bool>(*server, [&] { return _createNewFolder(name, *server); });
}

std::optional<QList<ListingEntry>> FTPManager::contentsOfServer(const FMServer* server)
{
    if (!_checkFMServer(server)) {
        return std::nullopt;
    }
    return runOnStreams<std::optional<QList<ListingEntry>>>(*server, [&] { return _contentsOfServer(*server); });
}

bool FTPManager::downloadFile(const QString& fileName, const QUrl& directoryURL, const FMServer* server)
{
    if (!_checkFMServer(server) || fileName.isEmpty() || leavesFolder(fileName) || directoryURL.isEmpty()
        || !LocalItem::at(localPath(directoryURL))) {
        return false;
    }
    return runOnStreams<bool>(*server, [&] { return _downloadFile(fileName, directoryURL, *server); });
}

bool FTPManager::deleteFileNamed(const QString& name, const FMServer* server)
{
    return deleteFileNamed(name.isNull() ? QByteArray() : name.toUtf8(), server);
}

bool FTPManager::deleteFileNamed(const QByteArray& rawName, const FMServer* server)
{
    if (!_checkFMServer(server) || rawName.isNull()) {
        return false;
    }
    // Kept: the name alone decides what the item is taken for.
    const QByteArray command = (rawName.contains('.') ? "DELE " : "RMD ") + rawName;
    return onWorkerThread<bool>([&] { return _ftpActionForServer(*server, command); });
}

bool FTPManager::deleteItemNamed(const QByteArray& rawName, ItemKind kind, const FMServer* server)
{
    if (!_checkFMServer(server) || rawName.isNull()) {
        return false;
    }
    const QByteArray command = (kind == ItemKind::Folder ? "RMD " : "DELE ") + rawName;
    return onWorkerThread<bool>([&] { return _ftpActionForServer(*server, command); });
}

bool FTPManager::deleteFile(const QString& name, const FMServer* server)
{
    if (!_checkFMServer(server)) {
        return false;
    }
    return onWorkerThread<bool>([&] { return deleteFileNamed(name, server); });
}

bool FTPManager::chmodFileNamed(const QString& name, quint32 mode, const FMServer* server)
{
    constexpr quint32 largestMode = 777;
    if (!_checkFMServer(server) || mode > largestMode || name.isNull()) {
        return false;
    }
    const QByteArray command = "SITE CHMOD " + QByteArray::number(mode) + ' ' + name.toUtf8();
    return onWorkerThread<bool>([&] { return _ftpActionForServer(*server, command); });
}

bool FTPManager::checkLogin(const FMServer* server)
{
    if (!_checkFMServer(server)) {
        return false;
    }
    return onWorkerThread<bool>([&] { return _ftpActionForServer(*server, QByteArray()); });
}

quint64 FTPManager::fileSizeOf(const QUrl& fileURL) const
{
    return static_cast<quint64>(LocalItem::at(localPath(fileURL)).value_or(LocalItem()).size);
}

bool FTPManager::_checkFMServer(const FMServer* server)
{
    if (server == nullptr) {
        qCWarning(ftpManagerLog, "FMServer check failed: server cannot be nil");
        return false;
    }
    bool valid = true;
    if (server->destination().isNull()) {
        qCWarning(ftpManagerLog, "FMServer check failed: destination cannot be nil");
        valid = false;
    }
    if (server->username().isNull()) {
        qCWarning(ftpManagerLog, "FMServer check failed: username cannot be nil");
        valid = false;
    }
    if (server->password().isNull()) {
        qCWarning(ftpManagerLog, "FMServer check failed: password cannot be nil");
        valid = false;
    }
    if (server->port() < 1) {
        // Kept: the text says negative although 0 is refused too.
        qCWarning(ftpManagerLog, "FMServer check failed: port cannot be negative");
        valid = false;
    }
    return valid;
}
