#pragma once

#include "FTPEncryption.h"
#include "FTPStream.h"
#include "WeakRef.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

class RunLoop;

/// What the server has said to the stream that a controller has opened last, be it open or closed.
class ServerAnswers {
public:
    /// See FTPStream::lastReply().
    virtual QString lastReply() const = 0;
    /// See FTPStream::security().
    virtual std::optional<FTPSecurity> security() const = 0;
    /// See FTPStream::peerAddress().
    virtual QHostAddress peerAddress() const = 0;

    /// Why what has ended with @p status has failed, for people: where the server has refused, its words say more.
    QString failure(const QString& status) const
    {
        const QString reply = lastReply();
        return reply.startsWith(u'4') || reply.startsWith(u'5') ? reply : status;
    }

protected:
    ~ServerAnswers() = default;
};

/// What the four stream controllers share: one stream at a time with its login, driven by the run loop of the thread
/// that starts it, and the count of operations that the network manager keeps. @p Stream is FTPReadStream or
/// FTPWriteStream.
///
/// A delegate may do anything while it is reported to: stop the controller, start it again, destroy it. Whatever goes
/// on after a report asks a Watch first.
template <typename Stream> class StreamController : public ServerAnswers, private FTPStreamDelegate {
public:
    StreamController(const StreamController&) = delete;
    StreamController& operator=(const StreamController&) = delete;
    /// Reports nothing: each controller stops itself in its own destructor, while it can still report.
    virtual ~StreamController() = default;

    /// @p source is asked at each start whether the transfer is to be encrypted. Without one it is not.
    void setEncryptionSource(std::function<FTPEncryption()> source) { m_encryptionSource = std::move(source); }
    /// Whether nobody is asked about the server's certificate from the next start on (FTPStream::setAsksNobody()).
    void setAsksNobody(bool asksNobody) { m_asksNobody = asksNobody; }
    bool asksNobody() const { return m_asksNobody; }

    QString lastReply() const final { return m_networkStream != nullptr ? m_networkStream->lastReply() : m_lastReply; }
    std::optional<FTPSecurity> security() const final
    {
        return m_networkStream != nullptr ? m_networkStream->security() : m_security;
    }

    QHostAddress peerAddress() const final
    {
        return m_networkStream != nullptr ? m_networkStream->peerAddress() : m_peerAddress;
    }

    /// The open stream; null exactly while nothing runs.
    Stream* networkStream() const { return m_networkStream.get(); }
    /// What the ErrorOccurred event of the stream that was closed last was about.
    const FTPStreamError& lastError() const { return m_lastError; }
    /// The loop that the stream reports from; null before the first start.
    RunLoop* ourRunLoop() const { return m_ourRunLoop; }

protected:
    /// Tells what has become of a controller since the watch was made.
    class Watch {
    public:
        explicit Watch(const StreamController& controller)
            : m_controller(controller.m_anchor.ref(&controller))
            , m_run(controller.m_run)
        {
        }

        /// Whether the controller has not been destroyed.
        bool isAlive() const { return m_controller.get() != nullptr; }
        /// Whether, besides, no stream was opened or closed.
        bool isUndisturbed() const { return isAlive() && m_controller.get()->m_run == m_run; }

    private:
        WeakRef<const StreamController> m_controller;
        quint64 m_run;
    };

    StreamController() = default;

    /// Takes @p stream, gives it the encryption and the login, and opens it. False when there is no stream or it
    /// refuses one of them: then the controller has been stopped with the status that says so.
    [[nodiscard]] bool startStream(std::unique_ptr<Stream> stream, const QString& username, const QString& password);
    /// Counts a start and reports @p status.
    void didStart(const QString& status);

    /// Closes the stream, if there is one: no event comes from it any more.
    void closeStream();
    /// Reports @p status and counts a stop.
    void didStop(const QString& status);

    /// @p refusal when the failed stream was refused by the server, otherwise the status for all other errors.
    QString errorStatus(const QString& refusal) const;

    /// Hands @p status to the delegate.
    virtual void reportStatus(const QString& status) = 0;
    /// The controller's stop operation.
    virtual void stopWithStatus(const QString& status) = 0;
    /// An event of the open stream.
    virtual void handleStreamEvent(FTPStreamEvent event) = 0;

private:
    void handleEvent(FTPStream& stream, FTPStreamEvent event) final;
    bool authenticate(const QString& username, const QString& password);

    std::function<FTPEncryption()> m_encryptionSource; ///< Null: none.
    bool m_asksNobody = false;
    std::unique_ptr<Stream> m_networkStream;
    QString m_lastReply; ///< To a stream that has been closed.
    std::optional<FTPSecurity> m_security; ///< Likewise.
    QHostAddress m_peerAddress; ///< Likewise.
    FTPStreamError m_lastError; ///< Likewise.
    RunLoop* m_ourRunLoop = nullptr;
    quint64 m_run = 0; ///< Changes whenever a stream is opened or closed.
    WeakAnchor m_anchor;
};

extern template class StreamController<FTPReadStream>;
extern template class StreamController<FTPWriteStream>;
