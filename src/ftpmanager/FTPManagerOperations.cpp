#include "FTPLocation.h"
#include "FTPManagerLog.h"
#include "FTPManagerPrivate.h"
#include "FTPManagerStrings.h"
#include "FileURL.h"
#include "ListingParser.h"
#include "LocalItem.h"
#include "LocalPath.h"
#include "MacRoman.h"
#include "PathText.h"
#include "URLText.h"

#include <QDateTime>
#include <QUrl>

#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

// The working operations on streams: each prepares what it needs, makes its stream and runs it to its end.

namespace {

QString baseURL(const FMServer& server)
{
    return ftpURLForPort(server.destination(), server.port());
}

/// The parser reads names as Mac OS Roman although servers send UTF-8: puts the characters right. A name whose
/// bytes are not UTF-8 is taken away.
void repairName(ListingEntry& entry)
{
    const std::optional<QByteArray> bytes = toMacRoman(entry.name);
    if (bytes && bytes->isValidUtf8()) {
        entry.name = QString::fromUtf8(*bytes);
    } else {
        entry.name = QString();
    }
}

/// Whether @p name, of a file to be written, would name the folder itself, or lead out of it.
bool leadsElsewhere(const QByteArray& name)
{
    const QList<QByteArray> parts = name.split('/');
    return parts.last().isEmpty() || parts.contains("."_ba) || parts.contains(".."_ba);
}

/// Hands encryption and login to @p stream. False when that refuses them, or when no stream could be made.
bool takesLogin(FTPStream* stream, const FMServer& server)
{
    if (stream == nullptr || !stream->setEncryption(server.encryption())) {
        return false;
    }
    stream->setTrustedCertificates(server.trustedFingerprints());
    return stream->setUserName(server.username()) && stream->setPassword(server.password());
}

} // namespace

namespace quillbox {

quint64 FTPManager::Private::sizeOfFile(const QUrl& fileURL)
{
    return static_cast<quint64>(LocalItem::at(localPath(fileURL)).value_or(LocalItem()).size);
}

bool FTPManager::Private::_uploadData(const QByteArray& data, const QString& fileName, const FMServer& server)
{
    begin(Action::Upload, static_cast<quint64>(data.size()));
    return upload(std::make_unique<DataSource>(data), fileName.toUtf8(),
                  URLText::appendingPathComponent(baseURL(server), fileName), server);
}

bool FTPManager::Private::_uploadFile(const QUrl& fileURL, const FMServer& server)
{
    begin(Action::Upload, sizeOfFile(fileURL));
    const QString path = localPath(fileURL);
    const QByteArray name = LocalPath::toBytes(PathText::lastPathComponent(path));
    return upload(FileSource::create(path), name, URLText::appendingPathComponent(baseURL(server), name), server);
}

bool FTPManager::Private::upload(std::unique_ptr<UploadSource> source, const QByteArray& name, const QString& location,
                                 const FMServer& server)
{
    m_fileReader = std::move(source);
    if (m_fileReader == nullptr) {
        return fail(FMFailure::Kind::LocalFile);
    }
    if (location.isNull()) {
        return false;
    }
    if (leadsElsewhere(name)) {
        qCWarning(ftpManagerLog, "ftp stream failed: general stream error (check credentials?)");
        return false;
    }
    m_serverStream = m_streams->createUploadStream(location, m_fileReader->length());
    return takesLogin(m_serverStream.get(), server) && run(*m_serverStream);
}

bool FTPManager::Private::_createNewFolder(const QString& name, const FMServer& server)
{
    begin(Action::CreateFolder, 0);
    const QString location = URLText::appendingPathComponent(baseURL(server), name);
    if (location.isNull()) {
        return false;
    }
    m_serverStream = m_streams->createFolderStream(location + u'/');
    return takesLogin(m_serverStream.get(), server) && run(*m_serverStream);
}

std::optional<QList<ListingEntry>> FTPManager::Private::_contentsOfServer(const FMServer& server)
{
    begin(Action::List, 0);
    m_directoryListingData = QByteArray();
    QString location = baseURL(server);
    if (location.isNull()) {
        return std::nullopt;
    }
    if (!location.endsWith(u'/')) {
        location += u'/';
    }
    m_serverReadStream = m_streams->createListingStream(location);
    if (!takesLogin(m_serverReadStream.get(), server) || !run(*m_serverReadStream)) {
        return std::nullopt;
    }
    auto entries = _createListingArrayFromDirectoryListingData(std::exchange(m_directoryListingData, QByteArray()));
    if (!entries) {
        fail(FMFailure::Kind::Unreadable);
    }
    return entries;
}

bool FTPManager::Private::_downloadFile(const QString& fileName, const QUrl& directoryURL, const FMServer& server)
{
    begin(Action::Download, 0);
    const QString path = PathText::appendingPathComponent(localPath(directoryURL), fileName);
    using enum FileOutputStream::Existing;
    m_fileWriter = std::make_unique<FileOutputStream>(path, m_keepsOldFiles ? AlwaysKept : Overwritten);
    const QString location = URLText::appendingPathComponent(baseURL(server), fileName);
    // What cannot be asked for, which the stream reports, costs no file.
    if (const auto place = FTPLocation::fromText(location); place && canBeSent(place->path)) {
        m_fileWriter->open();
    }
    const bool isOurs = m_fileWriter->isOpen();
    if (location.isNull()) {
        return false;
    }
    m_serverReadStream = m_streams->createDownloadStream(location);
    if (!takesLogin(m_serverReadStream.get(), server) || !m_serverReadStream->setFetchResourceInfo(true)) {
        return false;
    }
    if (run(*m_serverReadStream)) {
        return true;
    }
    // Part of a file looks like the file. What could not be opened for writing is no such part.
    if (isOurs && !m_keepsOldFiles) {
        ::unlink(LocalPath::toBytes(path).constData());
    }
    return false;
}

std::optional<QList<ListingEntry>>
FTPManager::Private::_createListingArrayFromDirectoryListingData(const QByteArray& directoryListingData)
{
    const QDateTime now = QDateTime::currentDateTime();
    QList<ListingEntry> entries;
    ListingMeasure measure;
    QByteArrayView rest = directoryListingData;
    while (true) {
        ParsedListing parsed = parseListingLine(rest, now);
        if (parsed.consumed < 0 || !measure.takes(parsed)) {
            return std::nullopt;
        }
        if (parsed.consumed == 0) {
            return entries;
        }
        if (parsed.entry) {
            repairName(*parsed.entry);
            entries.append(std::move(*parsed.entry));
        }
        rest = rest.sliced(parsed.consumed);
    }
}

} // namespace quillbox
