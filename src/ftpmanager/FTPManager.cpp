#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FMThread.h"
#include "FTPEngine.h"
#include "FTPLocation.h"
#include "FTPManagerLog.h"
#include "FTPManagerPrivate.h"
#include "FTPManagerStrings.h"
#include "FileOutputStream.h"
#include "FileURL.h"
#include "LocalItem.h"
#include "RunningOperation.h"
#include "UploadSource.h"

#include <QUrl>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// Whether @p name would lead from a folder to one outside of it, or be cut at a NUL.
bool leavesFolder(const QString& name)
{
    return name.contains(QChar::Null) || name.split(u'/').contains(u".."_s);
}

/// The time limits of transfers with @p server.
FTPTimeouts limitsFor(const FMServer& server)
{
    FTPTimeouts timeouts = server.timeouts();
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

namespace quillbox {

FTPManager::FTPManager()
    : FTPManager(std::make_unique<Private>(nullptr))
{
}

FTPManager::FTPManager(std::unique_ptr<Private> implementation)
    : m_private(std::move(implementation))
{
    RunningOperation::prepareForTheEnd();
}

FTPManager managerOn(FTPStreamFactory& streams)
{
    return FTPManager(std::make_unique<FTPManager::Private>(&streams));
}

FTPManager::~FTPManager() = default;

/// Runs @p operation on a worker thread; a worker that could not be made answers like a failed operation.
template <typename Result> Result FTPManager::Private::runOnWorker(const std::function<Result()>& operation)
{
    Result result{};
    refuse(FMFailure::Kind::CannotConnect); // Until it begins.
    RunningOperation running;
    if (running.mayBegin()) {
        m_running = &running;
        FMThread::runInSeparateThread([&result, &operation] { result = operation(); });
    }
    return result;
}

/// Runs @p operation like runOnWorker(), with m_streams set.
template <typename Result>
Result FTPManager::Private::runOnStreams(const FMServer& server, const std::function<Result()>& operation)
{
    m_isEncrypted = server.encryption() != FTPEncryption::None;
    if (m_streams != nullptr) {
        return runOnWorker(operation);
    }
    return runOnWorker<Result>([this, &server, &operation] {
        FTPEngine engine(limitsFor(server));
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
    if (!Private::_checkFMServer(server) || data.isNull()) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    return m_private->runOnStreams<bool>(*server, [&] { return m_private->_uploadData(data, fileName, *server); });
}

bool FTPManager::uploadFile(const QUrl& fileURL, const FMServer* server)
{
    if (!Private::_checkFMServer(server) || fileURL.isEmpty()) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    const std::optional<LocalItem> file = LocalItem::at(localPath(fileURL));
    if (!file || file->isFolder) {
        return m_private->refuse(FMFailure::Kind::LocalFile);
    }
    return m_private->runOnStreams<bool>(*server, [&] { return m_private->_uploadFile(fileURL, *server); });
}

bool FTPManager::createNewFolder(const QString& name, const FMServer* server)
{
    if (!Private::_checkFMServer(server) || name.isEmpty()) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    return m_private->runOnStreams<bool>(*server, [&] { return m_private->_createNewFolder(name, *server); });
}

std::optional<QList<ListingEntry>> FTPManager::contentsOfServer(const FMServer* server)
{
    if (!Private::_checkFMServer(server)) {
        m_private->refuse(FMFailure::Kind::Unusable);
        return std::nullopt;
    }
    return m_private->runOnStreams<std::optional<QList<ListingEntry>>>(
        *server, [&] { return m_private->_contentsOfServer(*server); });
}

bool FTPManager::downloadFile(const QString& fileName, const QUrl& directoryURL, const FMServer* server)
{
    if (!Private::_checkFMServer(server) || fileName.isEmpty() || leavesFolder(fileName) || directoryURL.isEmpty()) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    if (!LocalItem::at(localPath(directoryURL))) {
        return m_private->refuse(FMFailure::Kind::LocalFile);
    }
    return m_private->runOnStreams<bool>(*server,
                                         [&] { return m_private->_downloadFile(fileName, directoryURL, *server); });
}

bool FTPManager::deleteFileNamed(const QString& name, const FMServer* server)
{
    return deleteFileNamed(name.isNull() ? QByteArray() : name.toUtf8(), server);
}

bool FTPManager::deleteFileNamed(const QByteArray& rawName, const FMServer* server)
{
    if (!Private::_checkFMServer(server) || rawName.isNull()) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    // Kept: the name alone decides what the item is taken for.
    const QByteArray command = (rawName.contains('.') ? "DELE " : "RMD ") + rawName;
    return m_private->runOnWorker<bool>([&] { return m_private->_ftpActionForServer(*server, command); });
}

bool FTPManager::deleteItemNamed(const QByteArray& rawName, ItemKind kind, const FMServer* server)
{
    if (!Private::_checkFMServer(server) || rawName.isNull()) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    const QByteArray command = (kind == ItemKind::Folder ? "RMD " : "DELE ") + rawName;
    return m_private->runOnWorker<bool>([&] { return m_private->_ftpActionForServer(*server, command); });
}

bool FTPManager::deleteFile(const QString& name, const FMServer* server)
{
    if (!Private::_checkFMServer(server)) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    return m_private->runOnWorker<bool>([&] { return deleteFileNamed(name, server); });
}

bool FTPManager::chmodFileNamed(const QString& name, quint32 mode, const FMServer* server)
{
    constexpr quint32 largestMode = 777;
    if (!Private::_checkFMServer(server) || mode > largestMode || name.isNull()) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    const QByteArray command = "SITE CHMOD " + QByteArray::number(mode) + ' ' + name.toUtf8();
    return m_private->runOnWorker<bool>([&] { return m_private->_ftpActionForServer(*server, command); });
}

bool FTPManager::checkLogin(const FMServer* server)
{
    if (!Private::_checkFMServer(server)) {
        return m_private->refuse(FMFailure::Kind::Unusable);
    }
    return m_private->runOnWorker<bool>([&] { return m_private->_ftpActionForServer(*server, QByteArray()); });
}

quint64 FTPManager::fileSizeOf(const QUrl& fileURL) const
{
    return Private::sizeOfFile(fileURL);
}

void FTPManager::abort()
{
    m_private->abort();
}

std::optional<FTPManagerProgress> FTPManager::progress() const
{
    return m_private->progress();
}

FMFailure FTPManager::lastFailure() const
{
    return m_private->locked(m_private->m_failure);
}

bool FTPManager::isUndecided() const
{
    return m_private->locked(m_private->m_isUndecided);
}

bool FTPManager::isCommandAccepted() const
{
    return m_private->locked(m_private->m_isCommandAccepted);
}

bool FTPManager::keepsOldFiles() const
{
    return m_private->m_keepsOldFiles;
}

void FTPManager::setKeepsOldFiles(bool keepsOldFiles)
{
    m_private->m_keepsOldFiles = keepsOldFiles;
}

FTPManagerDelegate* FTPManager::delegate() const
{
    return m_private->m_delegate;
}

void FTPManager::setDelegate(FTPManagerDelegate* delegate)
{
    m_private->m_delegate = delegate;
}

const char* FTPManager::buffer() const
{
    return m_private->m_buffer.data();
}

quint64 FTPManager::bufferOffset() const
{
    return m_private->m_bufferOffset;
}

quint64 FTPManager::bufferLimit() const
{
    return m_private->m_bufferLimit;
}

UploadSource* FTPManager::fileReader() const
{
    return m_private->m_fileReader.get();
}

FileOutputStream* FTPManager::fileWriter() const
{
    return m_private->m_fileWriter.get();
}

FTPReadStream* FTPManager::serverReadStream() const
{
    return m_private->m_serverReadStream.get();
}

FTPWriteStream* FTPManager::serverStream() const
{
    return m_private->m_serverStream.get();
}

const QByteArray& FTPManager::directoryListingData() const
{
    return m_private->m_directoryListingData;
}

bool FTPManager::Private::_checkFMServer(const FMServer* server)
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

} // namespace quillbox
