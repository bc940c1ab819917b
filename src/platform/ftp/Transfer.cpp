#include "Transfer.h"

#include "CertificateQuestions.h"
#include "DeliveryGate.h"
#include "FTPEngine.h"
#include "FTPLog.h"
#include "TlsChannel.h"

#include <algorithm>
#include <utility>

namespace {

/// How many preliminary replies may come in a row. Some servers ask for patience by them while they take long; one that
/// says nothing else would never end.
constexpr int preliminaryLimit = 100;

} // namespace

Transfer::Transfer(FTPEngine& engine, TransferRequest request, std::function<void(FTPStreamEvent)> report)
    : QObject(&engine.transfers())
    , m_engine(engine)
    , m_request(std::move(request))
    , m_report(std::move(report))
    , m_watchdog(engine.gate())
    , m_data(engine.gate())
{
    connect(&m_data, &DataConnection::reached, this, [this] { enter(State::SecuringData); });
    connect(&m_data, &DataConnection::connected, this, &Transfer::dataConnected);
    connect(&m_data, &DataConnection::readable, this, &Transfer::dataReadable);
    connect(&m_data, &DataConnection::writable, this, [this] { this->report(FTPStreamEvent::HasSpaceAvailable); });
    connect(&m_data, &DataConnection::failed, this, &Transfer::dataFailed);
    connect(&m_watchdog, &Watchdog::expired, this, &Transfer::limitReached);
    connect(&engine.gate(), &DeliveryGate::opened, this, &Transfer::reportWhatWaited, Qt::QueuedConnection);
}

Transfer::~Transfer()
{
    abandon();
}

void Transfer::start()
{
    if (m_request.kind == Kind::Upload) {
        m_engine.pool().forgetUploadReply();
    }
    QMetaObject::invokeMethod(this, &Transfer::begin, Qt::QueuedConnection);
}

void Transfer::abandon()
{
    m_report = nullptr;
    enter(State::Finished);
    m_data.reset();
    letGoOfConnection(true);
}

/// The only place where the state changes, and with it the time that is left.
void Transfer::enter(State state)
{
    m_state = state;
    const StateClock clock = clockOf(state);
    if (clock.limit != nullptr) {
        m_watchdog.start(m_engine.timeouts().*clock.limit);
    } else {
        m_watchdog.stop();
    }
}

/// The server, or its network, has shown that it lives.
void Transfer::signOfLife()
{
    if (clockOf(m_state).restarts) {
        m_watchdog.touch();
    }
}

void Transfer::reach(Stage stage)
{
    m_progress.stage = stage;
    // From the loop: whoever hears it may abandon the transfer.
    QMetaObject::invokeMethod(this, &Transfer::stageReached, Qt::QueuedConnection);
}

// The control connection.

void Transfer::begin()
{
    if (m_state == State::Finished) {
        return;
    }
    if (!m_request.canBeSent()) {
        fail();
        return;
    }
    m_key = m_request.server();
    takeConnection(ConnectionPool::Reuse::Allowed);
}

void Transfer::takeConnection(ConnectionPool::Reuse reuse)
{
    if (m_request.kind == Kind::ConnectionTest) {
        // Some servers allow one login alone, and only a login that is made anew tells anything.
        m_engine.pool().closeIdle(m_key.host, m_key.port);
        reuse = ConnectionPool::Reuse::Apart;
        m_progress.security.reset();
        reach(Stage::Connecting);
    }
    m_try = Try();
    m_try.connection = &m_engine.pool().acquire(m_key, *this, reuse);
    const bool wantsSize = m_request.kind == Kind::Download && m_request.fetchSize;
    m_try.setup = std::make_unique<SessionSetup>(
        *m_try.connection, m_engine.traits(m_key),
        SessionSetup::Goal{ .folder = m_request.folder(),
                            .sizedFile = wantsSize ? m_request.location->name() : QByteArray(),
                            .needsPort = m_request.movesData() });
    m_replied = connect(m_try.connection, &ControlConnection::replied, this,
                        [this](const QString& line) { m_progress.reply = line; });
    if (m_try.connection->isEstablished()) {
        enter(State::SettingUp);
        setUp();
        return;
    }
    enter(State::Connecting);
    m_established = connect(m_try.connection, &ControlConnection::established, this, [this] {
        enter(State::SettingUp); // The greeting is the first reply.
        reach(Stage::Connected);
    });
}

void Transfer::letGoOfConnection(bool keep)
{
    disconnect(m_established);
    disconnect(m_replied);
    m_try.setup.reset();
    ControlConnection* const connection = std::exchange(m_try.connection, nullptr);
    if (connection == nullptr) {
        return;
    }
    if (!keep || !connection->session().loggedIn) {
        m_engine.pool().discard(*connection);
    } else if (m_request.kind == Kind::ConnectionTest) {
        m_engine.pool().takeLeave(*connection);
    } else {
        m_engine.pool().release(*connection);
    }
}

void Transfer::replyArrived(const FTPCommand& command, const Reply& reply)
{
    if (m_request.kind == Kind::Upload) {
        m_engine.pool().noteUploadReply();
    }
    if (reply.code == 421) {
        handleServiceEnding(reply);
        return;
    }
    m_try.hasReplied = true;
    m_try.preliminaryReplies = reply.isPreliminary() ? m_try.preliminaryReplies + 1 : 0;
    if (m_try.preliminaryReplies > preliminaryLimit) {
        fail();
    } else if (m_state == State::SettingUp) {
        handleSetupReply(command, reply);
    } else if (command.verb == FTPVerb::Mkd) {
        handleCreationReply(reply);
    } else {
        handleTransferReply(reply);
    }
}

void Transfer::unaskedReplyArrived(const Reply& reply)
{
    qCDebug(ftpLog, "an unasked reply %d", reply.code);
}

void Transfer::connectionLost()
{
    if (m_state == State::AwaitingTrust) {
        letGoOfConnection(false); // With the answer another one is made.
    } else if (m_state == State::Moving && m_try.isConfirmed) {
        letGoOfConnection(false); // The final reply has come; the rest of the data follows.
    } else if (!recover(Trouble::ConnectionLost)) {
        fail();
    }
}

void Transfer::handleServiceEnding(const Reply& reply)
{
    if (!recover(Trouble::ServiceEnding)) {
        finishWith({ FTPStreamError::Domain::FTP, reply.code }, false);
    }
}

// The set-up.

/// Begins the login, or what follows it where the session has one.
void Transfer::setUp()
{
    const TlsChannel* const tls = m_try.connection->tls();
    m_progress.security
        = tls != nullptr ? FTPSecurity{ tls->protocol(), tls->isVouchedFor(), tls->cipher() } : FTPSecurity();
    if (m_request.kind != Kind::ConnectionTest) {
        m_engine.pool().setLastSecurity(*m_progress.security);
    }
    reach(Stage::LoggingIn);
    follow(m_try.setup->begin(), Reply());
}

void Transfer::handleSetupReply(const FTPCommand& command, const Reply& reply)
{
    signOfLife();
    if (reply.isPreliminary()) {
        return;
    }
    const SessionSetup::Verdict verdict = m_try.setup->handleReply(command, reply);
    if (m_progress.stage == Stage::LoggingIn && m_try.connection->session().loggedIn) {
        reach(Stage::LoggedIn);
    }
    follow(verdict, reply);
}

void Transfer::follow(SessionSetup::Verdict verdict, const Reply& reply)
{
    switch (verdict) {
    case SessionSetup::Verdict::GoesOn:
        break;
    case SessionSetup::Verdict::MayLogIn:
        setUp();
        break;
    case SessionSetup::Verdict::Encrypt:
        m_try.connection->startEncryption();
        break;
    case SessionSetup::Verdict::Ready:
        m_try.size = m_try.setup->size();
        runCommand();
        break;
    case SessionSetup::Verdict::Confused:
        if (!recover(Trouble::Confusion)) {
            finishRefused(reply);
        }
        break;
    case SessionSetup::Verdict::Refused:
        finishRefused(reply);
        break;
    case SessionSetup::Verdict::Unprotected:
        fail();
        break;
    case SessionSetup::Verdict::FolderUnknown:
        if (!recover(Trouble::UnknownFolder)) {
            fail();
        }
        break;
    }
}

void Transfer::encryptionStands()
{
    const ServerCertificate certificate = m_try.connection->tls()->certificate();
    if (certificate.problems.isEmpty() || m_request.trustedCertificates.contains(certificate.fingerprint)) {
        enter(State::SettingUp);
        setUp();
        return;
    }
    if (m_request.certificateTrust == nullptr) {
        finishWith({ FTPStreamError::Domain::Certificate, 0 }, false);
        return;
    }
    enter(State::AwaitingTrust);
    m_engine.certificateQuestions().ask(*m_request.certificateTrust, { m_key.host, m_key.port, certificate }, this,
                                        [this](bool isTrusted) {
                                            if (m_state == State::AwaitingTrust) {
                                                trustAnswered(isTrusted);
                                            }
                                        });
}

void Transfer::trustAnswered(bool isTrusted)
{
    if (!isTrusted) {
        finishWith({ FTPStreamError::Domain::Certificate, 0 }, false);
    } else if (m_try.connection != nullptr && m_try.connection->isUsable()) {
        enter(State::SettingUp);
        setUp();
    } else if (!recover(Trouble::LostDuringQuestion)) {
        fail(); // The server leaves whenever its certificate is looked at.
    }
}

// The operation's own command.

void Transfer::runCommand()
{
    switch (m_request.kind) {
    case Kind::ConnectionTest:
        succeed(FTPStreamEvent::EndEncountered);
        break;
    case Kind::FolderCreation:
        enter(State::AwaitingConsent);
        m_try.connection->send({ m_request.command() });
        report(FTPStreamEvent::OpenCompleted);
        break;
    case Kind::Listing:
    case Kind::Download:
    case Kind::Upload:
        enter(State::OpeningData);
        if (!m_data.connectTo(m_try.connection->peerAddress(), m_try.setup->port(), m_try.connection->tls())) {
            fail();
            return;
        }
        m_try.connection->send({ m_request.command() });
        break;
    }
}

void Transfer::handleCreationReply(const Reply& reply)
{
    if (reply.code == 257 || reply.code == 250) {
        succeed(FTPStreamEvent::EndEncountered);
    } else if (!reply.isPreliminary()) {
        finishRefused(reply);
    }
}

void Transfer::handleTransferReply(const Reply& reply)
{
    if (m_state == State::AwaitingReason) {
        if (reply.isNegative()) {
            finishRefused(reply);
        } else if (!reply.isPreliminary()) {
            fail(); // The server may be content, but its data connection broke.
        }
        return;
    }
    if (!reply.isPreliminary() && !reply.isCompletion()) {
        finishRefused(reply);
        return;
    }
    m_try.hasConsented = true; // Some servers say nothing before the end.
    if (reply.isPreliminary()) {
        signOfLife();
    } else {
        m_try.isConfirmed = true;
    }
    if (m_state == State::AwaitingConsent || m_state == State::AwaitingLateConsent) {
        consented();
    } else if (m_try.isConfirmed) {
        confirmed();
    }
}

void Transfer::confirmed()
{
    if (m_request.kind == Kind::Upload) {
        if (m_state == State::Confirming && !m_data.isEnding()) {
            succeed(FTPStreamEvent::HasSpaceAvailable);
        } else {
            fail(); // It cannot confirm what it has not got.
        }
    } else if (m_state == State::Confirming) {
        dataEnded();
    }
}

void Transfer::consented()
{
    enter(State::Moving);
    m_data.watchForReading();
    report(FTPStreamEvent::OpenCompleted);
}

// The data.

void Transfer::dataConnected()
{
    m_try.hasDataConnection = true;
    if (m_request.kind == Kind::Upload) {
        if (m_request.length > 0) {
            enter(State::Moving);
            m_data.watchForWriting();
        } else {
            enter(State::Confirming);
            m_data.endWriting();
        }
        report(FTPStreamEvent::OpenCompleted);
    } else if (m_try.hasConsented) {
        consented();
    } else {
        enter(State::AwaitingConsent);
        m_data.watchForReading();
    }
}

void Transfer::dataReadable(DataConnection::Pending pending)
{
    if (m_state == State::AwaitingConsent) {
        m_data.stopWatching();
        enter(State::AwaitingLateConsent);
        return;
    }
    switch (pending) {
    case DataConnection::Pending::Nothing:
        break;
    case DataConnection::Pending::Bytes:
        signOfLife();
        report(FTPStreamEvent::HasBytesAvailable);
        break;
    case DataConnection::Pending::End:
        // At once: some servers send their final reply only when the connection is closed on both sides.
        m_data.close();
        enter(State::Confirming);
        if (m_try.isConfirmed) {
            dataEnded();
        }
        break;
    case DataConnection::Pending::Failure:
        dataFailed();
        break;
    }
}

void Transfer::dataEnded()
{
    if (m_try.size && m_try.moved < *m_try.size) {
        fail(); // Shorter than announced is not whole, whatever the server says. Longer is: the file may have grown.
    } else {
        succeed(FTPStreamEvent::HasBytesAvailable);
    }
}

void Transfer::dataFailed()
{
    if (m_state == State::Finished) {
        return;
    }
    m_try.hasDataConnection = m_try.hasDataConnection || m_data.hasReachedPeer();
    m_data.reset();
    enter(State::AwaitingReason);
}

qint64 Transfer::read(std::span<char> buffer)
{
    if (m_state == State::Finished) {
        return m_try.isConfirmed && m_error.domain == FTPStreamError::Domain::None ? 0 : -1;
    }
    if (m_state != State::Moving) {
        return -1;
    }
    const qint64 count = m_data.read(buffer);
    if (count <= 0) {
        return -1; // Nothing was reported to be there. 0 would say that the server has confirmed the end.
    }
    m_try.moved += count;
    m_try.preliminaryReplies = 0;
    return count;
}

qint64 Transfer::write(std::span<const char> data)
{
    if (m_state == State::AwaitingReason) {
        return static_cast<qint64>(data.size()); // Lost already; what happened is about to be reported.
    }
    if (m_request.kind != Kind::Upload || m_state != State::Moving) {
        return -1;
    }
    const qint64 wanted = std::min(static_cast<qint64>(data.size()), m_request.length - m_try.moved);
    const qint64 count = m_data.write(data.first(static_cast<std::size_t>(wanted)));
    if (count < 0) {
        dataFailed();
        return static_cast<qint64>(data.size());
    }
    m_try.moved += count;
    m_try.preliminaryReplies = 0;
    signOfLife();
    if (m_try.moved == m_request.length) {
        m_data.endWriting();
        enter(State::Confirming);
    }
    return count;
}

// Trouble.

void Transfer::limitReached()
{
    switch (m_state) {
    case State::AwaitingLateConsent:
        consented();
        return;
    case State::OpeningData:
    case State::SecuringData:
        dataFailed();
        return;
    case State::AwaitingReason:
        if (!m_try.hasDataConnection && recover(Trouble::DeadDataPort)) {
            return;
        }
        break;
    case State::SettingUp:
        if (recover(Trouble::Silence)) {
            return;
        }
        break;
    case State::Moving:
    case State::Confirming:
        // On a slow line the kernel still sends what was taken long ago.
        if (m_data.hasProgressed()) {
            enter(m_state);
            return;
        }
        break;
    case State::New:
    case State::AwaitingLogin:
    case State::Connecting:
    case State::AwaitingTrust:
    case State::AwaitingConsent:
    case State::Finished:
        break;
    }
    m_progress.wasSilent = true;
    fail();
}

TryFacts Transfer::facts() const
{
    const ControlConnection* const connection = m_try.connection;
    const bool hasConnection = connection != nullptr;
    return { .isSettingUp = m_state == State::SettingUp && m_try.setup->hasBegun(),
             .isReused = hasConnection && connection->isReused(),
             .hasReplied = m_try.hasReplied,
             .isLoggedIn = hasConnection && connection->session().loggedIn,
             .hasOtherLogin = hasConnection && m_engine.pool().hasOther(*connection),
             .canUsePassive = m_try.setup != nullptr && m_try.setup->canUsePassive(),
             .pipelines = m_engine.traits(m_key).pipelines,
             .hasReported = m_reported };
}

/// Makes another try where that may help. False when nothing does.
bool Transfer::recover(Trouble trouble)
{
    const Remedy remedy = remedyFor(trouble, facts(), m_tried);
    m_tried |= remedy;
    switch (remedy) {
    case Remedy::None:
        return false;
    case Remedy::AwaitLogin:
        awaitLogin();
        return true;
    case Remedy::FreshConnection:
    case Remedy::FreshAfterQuestion:
        break;
    case Remedy::WithoutPipelining:
        m_engine.traits(m_key).pipelines = false;
        break;
    case Remedy::WithPassive:
        m_engine.traits(m_key).passiveOnly = true;
        break;
    }
    m_data.reset();
    letGoOfConnection(false);
    takeConnection(ConnectionPool::Reuse::Fresh);
    return true;
}

void Transfer::awaitLogin()
{
    enter(State::AwaitingLogin);
    letGoOfConnection(false);
    m_engine.pool().callWhenFree(m_key, this, [this] {
        if (m_state != State::AwaitingLogin) {
            return false;
        }
        takeConnection(ConnectionPool::Reuse::Allowed);
        return true;
    });
}

// The end.

void Transfer::succeed(FTPStreamEvent event)
{
    enter(State::Finished);
    m_data.close();
    letGoOfConnection(true);
    report(event);
}

void Transfer::finishRefused(const Reply& reply)
{
    if (reply.isNegative()) {
        finishWith({ FTPStreamError::Domain::FTP, reply.code }, true);
    } else {
        fail(); // An answer that does not fit the question.
    }
}

void Transfer::fail()
{
    finishWith({ FTPStreamError::Domain::Other, 0 }, false);
}

void Transfer::finishWith(FTPStreamError error, bool keepConnection)
{
    m_error = error;
    enter(State::Finished);
    m_data.reset();
    letGoOfConnection(keepConnection);
    report(FTPStreamEvent::ErrorOccurred);
}

void Transfer::report(FTPStreamEvent event)
{
    if (m_engine.gate().isClosed()) {
        m_waiting = event;
        return;
    }
    m_reported = true;
    // A copy, since whoever hears it may abandon the transfer, which drops the original.
    if (const std::function<void(FTPStreamEvent)> report = m_report) {
        report(event);
    }
}

void Transfer::reportWhatWaited()
{
    if (m_waiting && !m_engine.gate().isClosed()) {
        report(*std::exchange(m_waiting, std::nullopt));
    }
}
