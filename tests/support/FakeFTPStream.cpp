#include "FakeFTPStream.h"

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
    void setDelegate(FTPStreamDelegate* delegate) override { m_record->delegate = delegate; }
    void open() override { m_record->calls.append(u"open"_s); }
    void close() override { m_record->calls.append(u"close"_s); }
    FTPStreamError error() const override { return m_record->error; }

protected:
    FakeFTPStream& fake() const { return *m_record; }

private:
    std::shared_ptr<FakeFTPStream> m_record;
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
    bool setFetchResourceInfo(bool fetch) override
    {
        fake().calls.append(fetch ? u"setFetchResourceInfo"_s : u"setFetchResourceInfo false"_s);
        return true;
    }
    std::optional<qint64> resourceSize() const override { return fake().resourceSize; }
};

class FakeWriteStream final : public FakeStreamBase<FTPWriteStream> {
public:
    using FakeStreamBase::FakeStreamBase;

    qint64 write(std::span<const char> data) override
    {
        auto count = static_cast<qint64>(data.size());
        if (!fake().writeAnswers.empty()) {
            count = std::min(count, fake().writeAnswers.front());
            fake().writeAnswers.pop_front();
        }
        if (count > 0) {
            fake().written.append(data.data(), count);
        }
        return count;
    }
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

void FakeFTPStream::sendRefusal(int code)
{
    error = { FTPStreamError::Domain::FTP, code };
    send(FTPStreamEvent::ErrorOccurred);
}

void FakeFTPStream::sendOtherError()
{
    error = { FTPStreamError::Domain::Other, 0 };
    send(FTPStreamEvent::ErrorOccurred);
}

std::unique_ptr<FTPReadStream> FakeStreamFactory::createListingStream(const QString& location)
{
    auto stream = record(FakeFTPStream::Kind::Listing, location, -1);
    return stream != nullptr ? std::make_unique<FakeReadStream>(std::move(stream)) : nullptr;
}

std::unique_ptr<FTPReadStream> FakeStreamFactory::createDownloadStream(const QString& location)
{
    auto stream = record(FakeFTPStream::Kind::Download, location, -1);
    return stream != nullptr ? std::make_unique<FakeReadStream>(std::move(stream)) : nullptr;
}

std::unique_ptr<FTPWriteStream> FakeStreamFactory::createUploadStream(const QString& location, qint64 length)
{
    auto stream = record(FakeFTPStream::Kind::Upload, location, length);
    return stream != nullptr ? std::make_unique<FakeWriteStream>(std::move(stream)) : nullptr;
}

std::unique_ptr<FTPWriteStream> FakeStreamFactory::createFolderStream(const QString& location)
{
    auto stream = record(FakeFTPStream::Kind::Folder, location, -1);
    return stream != nullptr ? std::make_unique<FakeWriteStream>(std::move(stream)) : nullptr;
}

std::shared_ptr<FakeFTPStream> FakeStreamFactory::record(FakeFTPStream::Kind kind, const QString& location,
                                                         qint64 length)
{
    if (refusesCreation) {
        return nullptr;
    }
    auto stream = std::make_shared<FakeFTPStream>();
    stream->kind = kind;
    stream->location = location;
    stream->length = length;
    stream->refusesUserName = refusesUserName;
    stream->refusesPassword = refusesPassword;
    stream->refusesEncryption = refusesEncryption;
    m_streams.push_back(stream);
    return stream;
}
