#pragma once

#include "FTPStream.h"

#include <QByteArray>
#include <QStringList>

#include <deque>
#include <memory>
#include <optional>
#include <vector>

/// One stream as a test sees it: what the controller did to it, and the means to answer. It stays when the controller
/// has destroyed the stream itself.
struct FakeFTPStream {
    enum class Kind { Listing, Download, Upload, Folder };

    Kind kind = Kind::Listing;
    QString location;
    qint64 length = -1; ///< Of an upload: the length it was created with.

    /// What was called, in order: "setUserName NAME", "setPassword WORD", "setFetchResourceInfo", "open", "close".
    QStringList calls;
    QByteArray written; ///< All bytes that write() took.

    FTPEncryption encryption = FTPEncryption::None;
    QList<QByteArray> trustedCertificates;

    bool refusesUserName = false;
    bool refusesPassword = false;
    bool refusesEncryption = false;
    FTPStreamError error;
    std::optional<qint64> resourceSize;
    /// The next answers of write(): -1 to fail, otherwise how many bytes it takes at most. Takes all when empty.
    std::deque<qint64> writeAnswers;
    /// What the next reads answer: bytes (at most as many as fit, the rest later), nothing to fail. At the end when
    /// empty.
    std::deque<std::optional<QByteArray>> readAnswers;

    FTPStream* stream = nullptr; ///< Null when the controller has destroyed it.
    FTPStreamDelegate* delegate = nullptr;

    bool isOpen() const { return stream != nullptr && calls.contains(QLatin1String("open")) && !isClosed(); }
    bool isClosed() const { return calls.contains(QLatin1String("close")); }

    /// Delivers @p event as the loop would; a stream that is not open delivers nothing.
    void send(FTPStreamEvent event);
    void sendOpenCompleted() { send(FTPStreamEvent::OpenCompleted); }
    void sendHasSpace() { send(FTPStreamEvent::HasSpaceAvailable); }
    void sendEndEncountered() { send(FTPStreamEvent::EndEncountered); }
    /// A has-bytes event whose read answers @p bytes.
    void sendBytes(const QByteArray& bytes);
    /// A has-bytes event whose read answers 0.
    void sendEnd();
    /// A has-bytes event whose read answers -1.
    void sendReadFailure();
    /// A refusal with the reply code @p code.
    void sendRefusal(int code);
    /// An error of the other domain.
    void sendOtherError();
};

/// Makes fake streams and keeps their records.
class FakeStreamFactory final : public FTPStreamFactory {
public:
    bool refusesCreation = false;
    bool refusesUserName = false;
    bool refusesPassword = false;
    bool refusesEncryption = false;

    std::unique_ptr<FTPReadStream> createListingStream(const QString& location) override;
    std::unique_ptr<FTPReadStream> createDownloadStream(const QString& location) override;
    std::unique_ptr<FTPWriteStream> createUploadStream(const QString& location, qint64 length) override;
    std::unique_ptr<FTPWriteStream> createFolderStream(const QString& location) override;

    QString lastReply() const override { return reply; }
    std::optional<FTPSecurity> lastSecurity() const override { return security; }
    void closeIdleConnections(const QString& location) override { closedIdle.append(location); }

    QString lastUploadReply() const override { return uploadReply; }

    std::unique_ptr<FTPProbe> startProbe(const FTPProbeRequest& request, FTPProbeHandler handler) override
    {
        probeRequests.push_back(request);
        probeHandler = std::move(handler);
        return std::make_unique<FTPProbe>();
    }

    QString reply; ///< What lastReply() answers.
    std::optional<FTPSecurity> security; ///< What lastSecurity() answers.
    QString uploadReply; ///< What lastUploadReply() answers.
    std::vector<FTPProbeRequest> probeRequests; ///< Of all probes.
    FTPProbeHandler probeHandler; ///< Hears of the latest one.
    QStringList closedIdle; ///< The locations whose idle connections were to be closed.

    /// All streams asked for that could be made, in order.
    const std::vector<std::shared_ptr<FakeFTPStream>>& streams() const { return m_streams; }
    /// The latest one; there must be one.
    FakeFTPStream& last() const { return *m_streams.back(); }

private:
    std::shared_ptr<FakeFTPStream> record(FakeFTPStream::Kind kind, const QString& location, qint64 length);

    std::vector<std::shared_ptr<FakeFTPStream>> m_streams;
};
