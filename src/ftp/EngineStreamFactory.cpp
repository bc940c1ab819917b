#include "EngineStreamFactory.h"

#include "FTPEngine.h"
#include "Transfer.h"

#include <utility>

namespace {

/// The common part of reading and writing streams: a request that becomes a transfer when the stream is opened.
template <typename Interface> class EngineStream : public Interface {
public:
    EngineStream(FTPEngine& engine, CertificateTrust* trust, CertificateTrust* knownTrust, TransferRequest::Kind kind,
                 const QString& location, qint64 length = 0)
        : m_engine(engine)
        , m_trust(trust)
        , m_knownTrust(knownTrust)
    {
        m_request.kind = kind;
        m_request.location = FTPLocation::fromText(location);
        m_request.length = length;
        m_request.certificateTrust = trust;
    }
    ~EngineStream() override { endTransfer(); }

    bool setUserName(const QString& userName) override
    {
        m_request.userName = userName.toUtf8();
        return true;
    }
    bool setPassword(const QString& password) override
    {
        m_request.password = password.toUtf8();
        return true;
    }
    bool setEncryption(FTPEncryption encryption) override
    {
        m_request.encryption = encryption;
        return true;
    }
    void setTrustedCertificates(const QList<QByteArray>& fingerprints) override
    {
        m_request.trustedCertificates = fingerprints;
    }
    void setAsksNobody(bool asksNobody) override { m_request.certificateTrust = asksNobody ? m_knownTrust : m_trust; }
    void setDelegate(FTPStreamDelegate* delegate) override { m_delegate = delegate; }

    void open() override
    {
        if (m_transfer == nullptr) {
            m_transfer = new Transfer(m_engine, m_request, [this](FTPStreamEvent event) {
                if (m_delegate != nullptr) {
                    m_delegate->handleEvent(*this, event); // May destroy this stream.
                }
            });
            m_transfer->start();
        }
    }
    void close() override { endTransfer(); }
    bool isAwaitingTrust() const override { return m_transfer != nullptr && m_transfer->isAwaitingTrust(); }

    FTPStreamError error() const override { return m_transfer != nullptr ? m_transfer->error() : FTPStreamError(); }
    QString lastReply() const override { return said().reply; }
    std::optional<FTPSecurity> security() const override { return said().security; }
    QHostAddress peerAddress() const override { return said().address; }

protected:
    TransferRequest m_request;
    Transfer* m_transfer = nullptr; ///< Destroyed through the loop: it may be the one that is reporting.

private:
    void endTransfer()
    {
        if (Transfer* const transfer = std::exchange(m_transfer, nullptr)) {
            m_said = transfer->progress();
            transfer->abandon();
            transfer->deleteLater();
        }
    }

    const Transfer::Progress& said() const { return m_transfer != nullptr ? m_transfer->progress() : m_said; }

    FTPEngine& m_engine;
    CertificateTrust* m_trust;
    CertificateTrust* m_knownTrust;
    FTPStreamDelegate* m_delegate = nullptr;
    Transfer::Progress m_said; ///< Of a transfer that has been closed.
};

class EngineReadStream final : public EngineStream<FTPReadStream> {
public:
    using EngineStream::EngineStream;

    qint64 read(std::span<char> buffer) override { return m_transfer != nullptr ? m_transfer->read(buffer) : -1; }

    bool setFetchResourceInfo(bool fetch) override
    {
        m_request.fetchSize = fetch;
        if (m_transfer != nullptr) {
            m_transfer->setFetchSize(fetch);
        }
        return true;
    }

    void setStandsBack(bool standsBack) override { m_request.standsBack = standsBack; }

    std::optional<qint64> resourceSize() const override
    {
        return m_transfer != nullptr ? m_transfer->size() : std::nullopt;
    }

    QString shortfall() const override { return m_transfer != nullptr ? m_transfer->shortfall() : QString(); }
};

class EngineWriteStream final : public EngineStream<FTPWriteStream> {
public:
    using EngineStream::EngineStream;

    qint64 write(std::span<const char> data) override { return m_transfer != nullptr ? m_transfer->write(data) : -1; }
    void setMadeLevels(int levels) override { m_request.madeLevels = levels; }
    qint64 acknowledgedBytes() const override { return m_transfer != nullptr ? m_transfer->acknowledgedBytes() : 0; }
};

} // namespace

std::unique_ptr<FTPReadStream> EngineStreamFactory::createListingStream(const QString& location)
{
    return std::make_unique<EngineReadStream>(m_engine, m_trust, m_knownTrust, TransferRequest::Kind::Listing,
                                              location);
}

std::unique_ptr<FTPReadStream> EngineStreamFactory::createDownloadStream(const QString& location)
{
    return std::make_unique<EngineReadStream>(m_engine, m_trust, m_knownTrust, TransferRequest::Kind::Download,
                                              location);
}

std::unique_ptr<FTPWriteStream> EngineStreamFactory::createUploadStream(const QString& location, qint64 length)
{
    return std::make_unique<EngineWriteStream>(m_engine, m_trust, m_knownTrust, TransferRequest::Kind::Upload, location,
                                               length);
}

std::unique_ptr<FTPWriteStream> EngineStreamFactory::createFolderStream(const QString& location)
{
    return std::make_unique<EngineWriteStream>(m_engine, m_trust, m_knownTrust, TransferRequest::Kind::FolderCreation,
                                               location);
}
