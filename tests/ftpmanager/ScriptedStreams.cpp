#include "ScriptedStreams.h"

#include <QObject>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

template <typename Interface> class ScriptedStream : public Interface {
public:
    explicit ScriptedStream(ScriptedStreams& script)
        : m_script(script)
    {
    }
    ~ScriptedStream() override { *m_alive = false; }

    bool setUserName(const QString& userName) override
    {
        m_script.calls.append(u"user "_s + userName);
        return !m_script.refusesUserName;
    }
    bool setPassword(const QString& password) override
    {
        m_script.calls.append(u"password "_s + password);
        return !m_script.refusesPassword;
    }
    bool setEncryption(FTPEncryption encryption) override
    {
        m_script.encryption = encryption;
        return !m_script.refusesEncryption;
    }
    void setTrustedCertificates(const QList<QByteArray>& fingerprints) override
    {
        m_script.trustedCertificates = fingerprints;
    }
    void setDelegate(FTPStreamDelegate* delegate) override { m_delegate = delegate; }
    void open() override
    {
        m_script.calls.append(u"open"_s);
        playNextTurn();
    }
    void close() override
    {
        m_script.calls.append(u"close"_s);
        m_loop.reset();
    }
    FTPStreamError error() const override { return { m_script.errorDomain, 0 }; }

protected:
    ScriptedStreams& script() const { return m_script; }

private:
    void playNextTurn()
    {
        QMetaObject::invokeMethod(
            m_loop.get(), [this] { playTurn(); }, Qt::QueuedConnection);
    }

    void playTurn()
    {
        if (m_script.turns.empty()) {
            if (m_script.whenOver) {
                std::exchange(m_script.whenOver, nullptr)();
            }
            if (m_script.turns.empty()) {
                return;
            }
        }
        const std::vector<FTPStreamEvent> events = std::move(m_script.turns.front());
        m_script.turns.pop_front();
        playNextTurn();
        const std::shared_ptr<const bool> alive = m_alive;
        for (const FTPStreamEvent event : events) {
            if (!*alive || m_delegate == nullptr) {
                return;
            }
            m_delegate->handleEvent(*this, event);
        }
    }

    ScriptedStreams& m_script;
    FTPStreamDelegate* m_delegate = nullptr;
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    std::unique_ptr<QObject> m_loop = std::make_unique<QObject>(); ///< Null once closed.
};

class ScriptedReadStream final : public ScriptedStream<FTPReadStream> {
public:
    using ScriptedStream::ScriptedStream;

    qint64 read(std::span<char> buffer) override
    {
        if (script().reads.empty()) {
            return 0;
        }
        std::optional<QByteArray>& answer = script().reads.front();
        if (!answer) {
            script().reads.pop_front();
            return -1;
        }
        const qsizetype count = std::min(answer->size(), static_cast<qsizetype>(buffer.size()));
        std::copy_n(answer->cbegin(), count, buffer.begin());
        answer->remove(0, count);
        if (answer->isEmpty()) {
            script().reads.pop_front();
        }
        return count;
    }
    bool setFetchResourceInfo(bool fetch) override
    {
        script().calls.append(fetch ? u"fetch info"_s : u"fetch no info"_s);
        return !script().refusesFetchResourceInfo;
    }
    std::optional<qint64> resourceSize() const override { return script().resourceSize; }
};

class ScriptedWriteStream final : public ScriptedStream<FTPWriteStream> {
public:
    using ScriptedStream::ScriptedStream;

    qint64 write(std::span<const char> data) override
    {
        auto count = static_cast<qint64>(data.size());
        script().calls.append(u"write "_s + QString::number(count));
        if (!script().writes.empty()) {
            count = std::min(count, script().writes.front());
            script().writes.pop_front();
        }
        if (count > 0) {
            script().written.append(data.data(), count);
        }
        return count;
    }
};

} // namespace

std::unique_ptr<FTPReadStream> ScriptedStreams::createListingStream(const QString& location)
{
    calls.append(u"listing "_s + location);
    return refusesCreation ? nullptr : std::make_unique<ScriptedReadStream>(*this);
}

std::unique_ptr<FTPReadStream> ScriptedStreams::createDownloadStream(const QString& location)
{
    calls.append(u"download "_s + location);
    return refusesCreation ? nullptr : std::make_unique<ScriptedReadStream>(*this);
}

std::unique_ptr<FTPWriteStream> ScriptedStreams::createUploadStream(const QString& location, qint64 length)
{
    calls.append(u"upload "_s + location + u' ' + QString::number(length));
    return refusesCreation ? nullptr : std::make_unique<ScriptedWriteStream>(*this);
}

std::unique_ptr<FTPWriteStream> ScriptedStreams::createFolderStream(const QString& location)
{
    calls.append(u"folder "_s + location);
    return refusesCreation ? nullptr : std::make_unique<ScriptedWriteStream>(*this);
}
