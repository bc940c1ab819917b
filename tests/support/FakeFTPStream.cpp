#include "FakeFTPStream.h"

#include <QObject>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// The part that reading and writing streams share, on top of either interface.
template <typename Interface> class FakeStreamBase : public Interface {
public:
    explicit FakeStreamBase(std::shared_ptr<FakeFTPStream> record)
        : m_record(std::move(record))
    {
        m_record->stream = this;
    }
    ~FakeStreamBase() override { m_record->stream = nullptr; }

    bool setUserName(const QString& userName) override
    {
        m_record->calls.append(u"setUserName "_s + userName);
        return !m_record->refusesUserName;
    }
    bool setPassword(const QString& password) override
    {
        m_record->calls.append(u"setPassword "_s + password);
        return !m_record->refusesPassword;
    }
    bool setEncryption(FTPEncryption encryption) override
    {
        m_record->encryption = encryption;
        return !m_record->refusesEncryption;
    }
    void setTrustedCertificates(const QList<QByteArray>& fingerprints) override
    {
        m_record->trustedCertificates = fingerprints;
    }
    void setAsksNobody(bool asksNobody) override { m_record->asksNobody = asksNobody; }
    void setDelegate(FTPStreamDelegate* delegate) override { m_record->delegate = delegate; }
    void open() override
    {
        m_record->calls.append(u"open"_s);
        if (!m_record->turns.empty() || m_record->whenOver != nullptr) {
            playNextTurn();
        }
    }
    void close() override
    {
        m_record->calls.append(u"close"_s);
        m_loop.reset();
    }
    bool isAwaitingTrust() const override { return m_record->isAwaitingTrust; }
    FTPStreamError error() const override { return m_record->error; }
    QString lastReply() const override { return m_record->reply; }
    std::optional<FTPSecurity> security() const override { return m_record->security; }
    QHostAddress peerAddress() const override { return m_record->peerAddress; }

protected:
    FakeFTPStream& fake() const { return *m_record; }

private:
    void playNextTurn()
    {
        QMetaObject::invokeMethod(
            m_loop.get(), [this] { playTurn(); }, Qt::QueuedConnection);
    }

    void playTurn()
    {
        const std::shared_ptr<FakeFTPStream> record = m_record; // An event may destroy this stream.
        if (record->turns.empty()) {
            if (record->whenOver == nullptr) {
                record->sendOtherError();
                return;
            }
            std::exchange(record->whenOver, nullptr)(*record);
            if (record->turns.empty()) {
                return;
            }
        }
        const std::vector<FTPStreamEvent> events = std::move(record->turns.front());
        record->turns.pop_front();
        playNextTurn();
        for (const FTPStreamEvent event : events) {
            record->send(event);
        }
    }

    std::shared_ptr<FakeFTPStream> m_record;
    std::unique_ptr<QObject> m_loop = std::make_unique<QObject>(); ///< Null once closed.
};

class FakeReadStream final : public FakeStreamBase<FTPReadStream> {
public:
    using FakeStreamBase::FakeStreamBase;

    qint64 read(std::span<char> buffer) override
    {
        if (fake().readAnswers.empty()) {
            return 0;
        }
        std::optional<QByteArray>& answer = fake().readAnswers.front();
        if (!answer) {
            fake().readAnswers.pop_front();
            return -1;
        }
        const qsizetype count = std::min(answer->size(), static_cast<qsizetype>(buffer.size()));
        std::copy_n(answer->cbegin(), count, buffer.begin());
        answer->remove(0, count);
        if (answer->isEmpty()) {
            fake().readAnswers.pop_front();
        }
        return count;
    }
    void setStandsBack(bool standsBack) override
    {
        if (standsBack) {
            fake().calls.append(u"setStandsBack"_s);
        }
    }
    bool setFetchResourceInfo(bool fetch) override
    {
        fake().calls.append(fetch ? u"setFetchResourceInfo"_s : u"setFetchResourceInfo false"_s);
        return !fake().refusesFetchResourceInfo;
    }
    std::optional<qint64> resourceSize() const override { return fake().resourceSize; }
    QString shortfall() const override { return fake().shortfall; }
};

class FakeWriteStream final : public FakeStreamBase<FTPWriteStream> {
public:
    using FakeStreamBase::FakeStreamBase;

    qint64 write(std::span<const char> data) override
    {
        auto count = static_cast<qint64>(data.size());
        fake().calls.append(u"write "_s + QString::number(count));
        if (!fake().writeAnswers.empty()) {
            count = std::min(count, fake().writeAnswers.front());
            fake().writeAnswers.pop_front();
        }
        if (count > 0) {
            fake().written.append(data.data(), count);
        }
        return count;
    }
    qint64 acknowledgedBytes() const override { return fake().acknowledgedBytes; }
    void setMadeLevels(int levels) override { fake().madeLevels = levels; }
};

} // namespace

void FakeFTPStream::send(FTPStreamEvent event)
{
    if (isOpen() && delegate != nullptr) {
        delegate->handleEvent(*stream, event);
    }
}

void FakeFTPStream::sendBytes(const QByteArray& bytes)
{
    readAnswers.emplace_back(bytes);
    send(FTPStreamEvent::HasBytesAvailable);
}

void FakeFTPStream::sendEnd()
{
    readAnswers.clear();
    send(FTPStreamEvent::HasBytesAvailable);
}

void FakeFTPStream::sendReadFailure()
{
    readAnswers.emplace_back(std::nullopt);
    send(FTPStreamEvent::HasBytesAvailable);
}

void FakeFTPStream::sendRefusal(int code, int missingLevels)
{
    error = { .domain = FTPStreamError::Domain::FTP, .code = code, .missingLevels = missingLevels };
    send(FTPStreamEvent::ErrorOccurred);
}

void FakeFTPStream::sendOtherError()
{
    error = { FTPStreamError::Domain::Other, 0 };
    send(FTPStreamEvent::ErrorOccurred);
}

std::unique_ptr<FTPReadStream> FakeStreamFactory::createListingStream(const QString& location)
{
    return make<FakeReadStream>(FakeFTPStream::Kind::Listing, location);
}

std::unique_ptr<FTPReadStream> FakeStreamFactory::createDownloadStream(const QString& location)
{
    return make<FakeReadStream>(FakeFTPStream::Kind::Download, location);
}

std::unique_ptr<FTPWriteStream> FakeStreamFactory::createUploadStream(const QString& location, qint64 length)
{
    return make<FakeWriteStream>(FakeFTPStream::Kind::Upload, location, length);
}

std::unique_ptr<FTPWriteStream> FakeStreamFactory::createFolderStream(const QString& location)
{
    return make<FakeWriteStream>(FakeFTPStream::Kind::Folder, location);
}

template <typename Stream>
std::unique_ptr<Stream> FakeStreamFactory::make(FakeFTPStream::Kind kind, const QString& location, qint64 length)
{
    auto record = std::make_shared<FakeFTPStream>(next);
    record->kind = kind;
    record->location = location;
    record->length = length;
    m_streams.push_back(record);
    return refusesCreation ? nullptr : std::make_unique<Stream>(std::move(record));
}
