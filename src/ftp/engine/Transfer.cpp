#include "Transfer.h"

#include "CertificateQuestions.h"
#include "DeliveryGate.h"
#include "FTPEngine.h"
#include "FTPLog.h"
#include "ListingShortfall.h"
#include "ServerTraits.h"
#include "TlsChannel.h"

#include <QTimer>

#include <algorithm>
#include <utility>

namespace {

/// How many preliminary replies may come in a row. Some servers ask for patience by them while they take long; one that
/// says nothing else would never end.
constexpr int preliminaryLimit = 100;

/// "Service not available, closing control connection" (RFC 959, section 4.2): also one login too many.
constexpr int serviceEnding = 421;

/// Bytes that a listing must bring in FTPTimeouts::slowListing, from its second such time on. People wait for it.
constexpr qint64 listingPace = 1024;

/// For how long a server that has refused a second login is taken for one that allows no other.
constexpr auto oneLoginTime = std::chrono::minutes(5);

/// How long to wait before something is asked for again that the system has run out of.
constexpr auto shortageInterval = std::chrono::milliseconds(100);

/// How long to wait before a server that has not noticed the end of a session is asked for another one.
constexpr auto loginInterval = std::chrono::seconds(1);

} // namespace

Transfer::Transfer(FTPEngine& engine, TransferRequest request, std::function<void(FTPStreamEvent)> report)
    : QObject(&engine.transfers())
    , m_engine(engine)
    , m_request(std::move(request))
    , m_report(std::move(report))
    , m_watchdog(engine.gate())
    , m_pace(engine.gate())
    , m_loginWait(engine.gate())
    , m_shortage(engine.gate())
    , m_data(engine.gate())
{
    connect(&m_data, &DataConnection::reached, this, [this] { enter(State::SecuringData); });
    connect(&m_data, &DataConnection::connected, this, &Transfer::dataConnected);
    connect(&m_data, &DataConnection::readable, this, &Transfer::dataReadable);
    connect(&m_data, &DataConnection::writable, this, [this] { this->report(FTPStreamEvent::HasSpaceAvailable); });
    connect(&m_data, &DataConnection::delivered, this, &Transfer::dataDelivered);
    connect(&m_data, &DataConnection::failed, this, &Transfer::dataFailed);
    connect(&m_watchdog, &Watchdog::expired, this, &Transfer::limitReached);
    connect(&m_pace, &Watchdog::expired, this, &Transfer::checkPace);
    connect(&m_shortage, &Watchdog::expired, this, &Transfer::openData);
    connect(&m_loginWait, &Watchdog::expired, this, &Transfer::finishWithoutLogin);
    connect(&engine.gate(), &DeliveryGate::opened, this, &Transfer::reportWhatWaited, Qt::QueuedConnection);
}

Transfer::~Transfer()
{
    abandon();
}

void Transfer::start()
{
    QMetaObject::invokeMethod(this, &Transfer::begin, Qt::QueuedConnection);
}

void Transfer::abandon()
{
    m_report = nullptr;
    enter(State::Finished);
    m_data.reset();
    letGoOfConnection(true);
}

ServerTraits& Transfer::traits() const
{
    return m_engine.servers().of(m_key);
}

/// The only place where the state changes, and with it the time that is left.
void Transfer::enter(State state)
{
    m_state = state;
    m_shortage.stop();
    const StateClock clock = clockOf(state);
    if (clock.limit != nullptr) {
        m_watchdog.start(m_engine.timeouts().*clock.limit);
    } else {
        m_watchdog.stop();
    }
    if (state == State::Moving && m_request.kind == Kind::Listing) {
        m_pace.start(m_engine.timeouts().slowListing);
    } else {
        m_pace.stop();
    }
    if (state == State::AwaitingLogin && !m_loginWait.isRunning()) {
        m_loginWait.start(m_engine.timeouts().login);
    } else if (state == State::AwaitingTrust || state == State::Finished) {
        m_loginWait.stop();
    }
}

void Transfer::dataMoved(qint64 count)
{
    m_try.moved += count;
    m_try.preliminaryReplies = 0;
    m_watchdog.restart();
}

void Transfer::reach(Stage stage)
{
    m_progress.stage = stage;
    if (m_request.kind != Kind::ConnectionTest) {
        return; // Nobody follows its stages.
    }
    // From the loop: a slot may abandon the transfer.
    QMetaObject::invokeMethod(this, &Transfer::stageReached, Qt::QueuedConnection);
}

// The control connection.

void Transfer::begin()
{
    if (m_state == State::Finished) {
        return;
    }
    if (!m_request.canBeSent()) {
        finishWith({ FTPStreamError::Domain::Unsendable, 0 }, false);
        return;
    }
    m_key = m_request.server();
    const bool standsBack = m_request.standsBack && !traits().allowsOneLogin();
    takeConnection(standsBack ? ConnectionPool::Reuse::Spare : ConnectionPool::Reuse::Allowed);
}

void Transfer::takeConnection(ConnectionPool::Reuse reuse)
{
    if (m_request.kind == Kind::ConnectionTest) {
        // Some servers allow one login only, and the test must log in itself.
        m_engine.pool().closeIdle(m_key.host, m_key.port);
        reuse = ConnectionPool::Reuse::Fresh;
        m_progress.security.reset();
    }
    reach(Stage::Connecting);
    m_try = Try();
    m_try.connection = &m_engine.pool().acquire(m_key, *this, reuse, traits());
    m_try.setup = newSetup(m_request.madeLevels > 0);
    m_replied = connect(m_try.connection, &ControlConnection::replied, this,
                        [this](const QString& line) { m_progress.reply = line; });
    if (m_try.connection->isEstablished()) {
        enter(State::SettingUp);
        setUp();
        return;
    }
    enter(State::Connecting);
    m_established = connect(m_try.connection, &ControlConnection::established, this, [this] {
        traits().address = m_try.connection->peerAddress();
        enter(State::SettingUp); // The greeting is the first reply.
        reach(Stage::Connected);
    });
}

void Transfer::letGoOfConnection(bool keep)
{
    disconnect(m_established);
    disconnect(m_replied);
    m_try.setup.reset();
    m_try.folderMaker.reset();
    ControlConnection* const connection = std::exchange(m_try.connection, nullptr);
    if (connection == nullptr) {
        return;
    }
    if (!keep || !connection->session().loggedIn) {
        m_engine.pool().discard(*connection);
    } else if (m_request.kind == Kind::ConnectionTest) {
        m_engine.pool().quit(*connection);
    } else {
        m_engine.pool().release(*connection);
    }
}

void Transfer::replyArrived(const FTPCommand& command, const Reply& reply)
{
    if (reply.code == serviceEnding) {
        handleServiceEnding(reply);
        return;
    }
    m_try.hasReplied = true;
    m_try.preliminaryReplies = reply.isPreliminary() ? m_try.preliminaryReplies + 1 : 0;
    if (m_try.preliminaryReplies > preliminaryLimit) {
        fail();
    } else if (m_state == State::SettingUp || m_state == State::AwaitingLoginReason) {
        handleSetupReply(command, reply);
    } else if (m_try.folderMaker != nullptr) {
        if (!reply.isPreliminary()) {
            followFolder(m_try.folderMaker->handleReply(command, reply));
        }
    } else if (command.verb == FTPVerb::Mkd) {
        handleCreationReply(reply);
    } else {
        handleTransferReply(command.verb, reply);
    }
}

void Transfer::unaskedReplyArrived(const Reply& reply)
{
    qCDebug(ftpLog, "an unasked reply %d", reply.code);
}

void Transfer::connectionLost()
{
    if (m_state == State::Connecting) {
        m_progress.isHostKnown = m_try.connection->isHostKnown();
        if (!traits().hasFixedAddress) {
            traits().address.clear(); // It has answered no more than all others.
        }
    }
    // With the answer to a question another connection is made; and behind the final reply the rest of the data
    // follows.
    const bool isMoving = m_state == State::Moving || m_state == State::Delivering;
    if (m_state == State::AwaitingTrust || (isMoving && m_try.isConfirmed)) {
        letGoOfConnection(false);
    } else if (!endRefusedLogin() && !recover(Trouble::ConnectionLost)) {
        fail();
    }
}

void Transfer::handleServiceEnding(const Reply& reply)
{
    if (!endRefusedLogin() && !recover(Trouble::ServiceEnding)) {
        finishWith({ FTPStreamError::Domain::FTP, reply.code }, false);
    }
}

// The set-up.

std::unique_ptr<SessionSetup> Transfer::newSetup(bool makesFolder) const
{
    const bool wantsSize = m_request.kind == Kind::Download && m_request.fetchSize;
    return std::make_unique<SessionSetup>(
        *m_try.connection, traits(),
        SessionSetup::Goal{ .folder = m_request.folder(),
                            .sizedFile = wantsSize ? m_request.location->name() : QByteArray(),
                            .needsPort = m_request.movesData(),
                            .makesFolder = makesFolder });
}

/// Begins the login, or what follows it where the session has one.
void Transfer::setUp()
{
    const TlsChannel* const tls = m_try.connection->tls();
    m_progress.address = m_try.connection->peerAddress();
    m_progress.security
        = tls != nullptr ? FTPSecurity{ tls->protocol(), tls->isTrustedBySystem(), tls->cipher() } : FTPSecurity();
    reach(Stage::LoggingIn);
    follow(m_try.setup->begin(), Reply());
}

void Transfer::handleSetupReply(const FTPCommand& command, const Reply& reply)
{
    if (reply.isPreliminary()) {
        return;
    }
    const bool wasLoggedIn = m_try.connection->session().loggedIn;
    const SessionSetup::Verdict verdict = m_try.setup->handleReply(command, reply);
    if (!wasLoggedIn && m_try.connection->session().loggedIn && m_engine.pool().hasOtherLogin(*m_try.connection)) {
        traits().oneLogin = {};
    }
    if (m_progress.stage == Stage::LoggingIn && m_try.connection->session().loggedIn) {
        m_loginWait.stop();
        reach(Stage::LoggedIn);
    }
    follow(verdict, reply);
}

/// Ends the transfer in the server's words for the login. False when that was not refused.
bool Transfer::endRefusedLogin()
{
    const std::optional<Reply> refusal = m_try.setup != nullptr ? m_try.setup->loginRefusal() : std::nullopt;
    if (!refusal) {
        return false;
    }
    m_progress.reply = refusal->readable;
    finishRefused(*refusal);
    return true;
}

void Transfer::follow(SessionSetup::Verdict verdict, const Reply& reply)
{
    switch (verdict) {
    case SessionSetup::Verdict::GoesOn:
        if (m_state == State::SettingUp && m_try.setup->loginRefusal()) {
            enter(State::AwaitingLoginReason);
        }
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
        if (!endRefusedLogin()) {
            finishRefused(reply);
        }
        break;
    case SessionSetup::Verdict::Unprotected:
        m_try.isUnprotected = true;
        fail();
        break;
    case SessionSetup::Verdict::Stray:
        if (!recover(Trouble::StrayReply)) {
            fail();
        }
        break;
    case SessionSetup::Verdict::FolderUnknown:
        if (!recover(Trouble::UnknownFolder)) {
            fail();
        }
        break;
    case SessionSetup::Verdict::FolderMissing:
        m_try.folderMaker
            = std::make_unique<FolderMaker>(*m_try.connection, m_try.setup->pathOfFolder(), m_request.madeLevels);
        followFolder(m_try.folderMaker->begin());
        break;
    }
}

void Transfer::encryptionStands()
{
    const ServerCertificate certificate = m_try.connection->tls()->certificate();
    if (certificate.problems.isEmpty() || m_request.trustedCertificates.contains(certificate.fingerprint)) {
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
        if (m_request.createsFolder) {
            m_try.folderMaker
                = std::make_unique<FolderMaker>(*m_try.connection, m_request.location->pathWithoutTrailingSlashes());
            followFolder(m_try.folderMaker->begin());
        } else {
            succeed(FTPStreamEvent::EndEncountered);
        }
        break;
    case Kind::FolderCreation:
        if (m_request.isAboutFolder()) { // It stands in it.
            succeed(FTPStreamEvent::EndEncountered);
            break;
        }
        enter(State::AwaitingConsent);
        m_try.connection->send({ m_request.command() });
        report(FTPStreamEvent::OpenCompleted);
        break;
    case Kind::Listing:
    case Kind::Download:
    case Kind::Upload:
        enter(State::OpeningData);
        openData();
        break;
    }
}

void Transfer::followFolder(FolderMaker::Verdict verdict)
{
    switch (verdict) {
    case FolderMaker::Verdict::GoesOn:
        enter(State::AwaitingConsent);
        break;
    case FolderMaker::Verdict::Made:
        folderMade();
        break;
    case FolderMaker::Verdict::Refused:
        const Reply refusal = *m_try.folderMaker->refusal();
        m_progress.reply = refusal.readable;
        finishRefused(refusal, m_try.folderMaker->missingLevels());
        break;
    }
}

void Transfer::folderMade()
{
    if (!m_request.movesData()) {
        succeed(FTPStreamEvent::EndEncountered);
        return;
    }
    m_try.folderMaker.reset();
    m_try.connection->session().folder = m_request.folder();
    m_try.connection->session().binary = false; // Some servers forget the type when the folder changes.
    m_try.setup = newSetup(false);
    enter(State::SettingUp);
    follow(m_try.setup->begin(), Reply());
}

/// Sends the command when a data connection is on its way. What this machine has run out of is waited for.
void Transfer::openData()
{
    if (!m_data.connectTo(m_try.connection->peerAddress(), m_try.setup->port(), m_try.connection->tls())) {
        m_shortage.start(shortageInterval);
        return;
    }
    m_try.connection->send({ m_request.command() });
    m_data.awaitPeer();
}

void Transfer::handleCreationReply(const Reply& reply)
{
    // 250 answers uploads as well, and one of those may have been answered twice.
    if (reply.code == 257 || (reply.code == 250 && !m_try.connection->isReused())) {
        succeed(FTPStreamEvent::EndEncountered);
    } else if (!reply.isPreliminary()) {
        finishRefused(reply);
    }
}

/// Whether a confirmation of the transfer that @p verb has asked for may be a late word on the one before: the server
/// has yet to say that this one begins.
bool Transfer::mayBeLate(FTPVerb verb) const
{
    const bool isUpload = m_request.kind == Kind::Upload;
    return !m_try.hasConsented && traits().announced.contains(verb)
        && (isUpload || m_try.connection->isReused()); // Nothing was before it on a connection of its own.
}

void Transfer::handleTransferReply(FTPVerb verb, const Reply& reply)
{
    const bool isDeadPort = reply.code == 425 && !m_try.hasDataConnection && !m_data.hasReachedPeer();
    if (isDeadPort && recover(Trouble::DeadDataPort)) {
        return;
    }
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
    if (reply.isPreliminary()) {
        traits().announced.insert(verb);
    } else if (mayBeLate(verb)) {
        const bool isUpload = m_request.kind == Kind::Upload; // A STOR is not said twice: the first may act later.
        if (isUpload || !recover(Trouble::StrayReply)) {
            fail();
        }
        return;
    } else {
        m_try.isConfirmed = true;
        m_try.shortfall = m_request.kind == Kind::Listing ? shortfallIn(reply) : QString();
    }
    m_try.hasConsented = true; // Some servers say nothing before the end.
    if (m_state == State::AwaitingConsent || m_state == State::AwaitingLateConsent) {
        consented();
    } else if (m_try.isConfirmed) {
        confirmed();
    }
}

void Transfer::confirmed()
{
    if (m_request.kind == Kind::Upload) {
        const bool isTaken = m_state == State::Delivering && !m_data.isEnding();
        if (m_state == State::Confirming || (isTaken && m_data.isDelivered())) {
            succeed(FTPStreamEvent::HasSpaceAvailable);
        } else if (!isTaken) {
            fail(); // It cannot confirm what has not left us.
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
        const bool isEmpty = m_request.length == 0;
        enter(isEmpty ? State::Delivering : State::Moving);
        if (isEmpty) {
            m_data.endWriting();
        }
        report(FTPStreamEvent::OpenCompleted);
        if (m_state == State::Moving) {
            m_data.watchForWriting();
        }
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
        m_watchdog.restart();
        report(FTPStreamEvent::HasBytesAvailable);
        break;
    case DataConnection::Pending::Cut:
        // Nothing is missing when as much has come as the server has announced.
        if (m_try.size != m_try.moved) {
            dataFailed();
            break;
        }
        [[fallthrough]];
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

void Transfer::dataDelivered()
{
    if (m_try.isConfirmed) {
        succeed(FTPStreamEvent::HasSpaceAvailable);
    } else {
        enter(State::Confirming);
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
    if (m_try.isConfirmed) {
        fail(); // The server has said its final reply, which was wrong.
    }
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
    dataMoved(count);
    return count;
}

qint64 Transfer::write(std::span<const char> data)
{
    if (m_state == State::AwaitingReason) {
        return 0; // Lost already; what happened is about to be reported.
    }
    if (m_request.kind != Kind::Upload || m_state != State::Moving) {
        return -1;
    }
    const qint64 wanted = std::min(static_cast<qint64>(data.size()), m_request.length - m_try.moved);
    const qint64 count = m_data.write(data.first(static_cast<std::size_t>(wanted)));
    if (count < 0) {
        dataFailed();
        return 0;
    }
    dataMoved(count);
    if (m_try.moved == m_request.length) {
        enter(State::Delivering);
        m_data.endWriting();
    }
    return count;
}

qint64 Transfer::acknowledgedBytes() const
{
    return std::max<qint64>(m_try.moved - m_data.unacknowledgedBytes(), 0);
}

// Trouble.

void Transfer::limitReached()
{
    switch (m_state) {
    case State::AwaitingLateConsent:
        consented();
        return;
    case State::OpeningData:
        if (m_shortage.isRunning()) {
            fail(); // Nothing was asked for.
            return;
        }
        [[fallthrough]];
    case State::SecuringData:
        m_try.isDataSilent = true;
        dataFailed();
        return;
    case State::AwaitingReason:
        if (!m_try.hasDataConnection && recover(Trouble::DeadDataPort)) {
            return;
        }
        m_progress.wasSilent = m_try.isDataSilent; // Otherwise the data connection was lost, and without a reason.
        fail();
        return;
    case State::AwaitingLoginReason:
        endRefusedLogin();
        return;
    case State::SettingUp:
        if (recover(Trouble::Silence)) {
            return;
        }
        break;
    case State::Moving:
    case State::Delivering:
        // On a slow line the kernel still sends what was taken long ago.
        if (m_data.hasProgressed()) {
            enter(m_state);
            return;
        }
        break;
    case State::Connecting:
        if (m_try.connection->isShort()) {
            fail();
            return;
        }
        break;
    case State::New:
    case State::AwaitingLogin:
    case State::AwaitingTrust:
    case State::AwaitingConsent:
    case State::Confirming:
    case State::Finished:
        break;
    }
    m_progress.wasSilent = true;
    fail();
}

/// Ends a listing that trickles.
void Transfer::checkPace()
{
    const qint64 brought = m_try.moved - std::exchange(m_try.movedBefore, m_try.moved);
    if (std::exchange(m_try.isPaced, true) && brought < listingPace) {
        m_progress.wasSilent = true;
        fail();
    } else {
        m_pace.start(m_engine.timeouts().slowListing);
    }
}

TryFacts Transfer::facts() const
{
    const ControlConnection* const connection = m_try.connection;
    const bool hasConnection = connection != nullptr;
    const bool isSettingUp = m_state == State::SettingUp || m_state == State::AwaitingLoginReason;
    return { .isSettingUp = isSettingUp && m_try.setup->hasBegun(),
             .isReused = hasConnection && connection->isReused(),
             .hasReplied = m_try.hasReplied,
             .isLoggedIn = hasConnection && connection->session().loggedIn,
             .hasOtherLogin = hasConnection && m_engine.pool().hasOther(*connection),
             .canUsePassive = m_try.setup != nullptr && m_try.setup->canUsePassive(),
             .pipelines = traits().pipelines,
             .hasLeftSession = m_hasLeftSession,
             .hasReported = m_reported };
}

/// Makes another try where that may help. False when nothing does.
bool Transfer::recover(Trouble trouble)
{
    const TryFacts facts = this->facts();
    const Remedy remedy = remedyFor(trouble, facts, m_tried);
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
        traits().pipelines = false;
        break;
    case Remedy::WithPassive:
        traits().passiveOnly = true;
        break;
    }
    m_data.reset();
    // A session that stands in good order is taken again: the server may allow no second one.
    const bool isKept = remedy == Remedy::WithPassive && !m_try.connection->isPending();
    const bool isEndedByServer = trouble == Trouble::ConnectionLost || trouble == Trouble::ServiceEnding;
    m_hasLeftSession = m_hasLeftSession || (facts.isLoggedIn && !isKept && !isEndedByServer);
    letGoOfConnection(isKept);
    takeConnection(isKept ? ConnectionPool::Reuse::Allowed : ConnectionPool::Reuse::Fresh);
    return true;
}

void Transfer::awaitLogin()
{
    const bool hasOther = m_engine.pool().hasOther(*m_try.connection);
    m_loginRefusal = m_progress.reply;
    if (hasOther) {
        traits().oneLogin.setRemainingTime(oneLoginTime);
    }
    enter(State::AwaitingLogin);
    letGoOfConnection(false);
    const auto tryAgain = [this] {
        if (m_state != State::AwaitingLogin) {
            return false;
        }
        takeConnection(ConnectionPool::Reuse::Allowed);
        return true;
    };
    if (hasOther) {
        m_engine.pool().callWhenFree(m_key, this, tryAgain);
    } else {
        QTimer::singleShot(loginInterval, this, tryAgain);
    }
}

void Transfer::finishWithoutLogin()
{
    m_progress.reply = m_loginRefusal;
    finishWith({ FTPStreamError::Domain::FTP, serviceEnding }, false);
}

// The end.

void Transfer::succeed(FTPStreamEvent event)
{
    enter(State::Finished);
    m_data.close();
    letGoOfConnection(true);
    report(event);
}

void Transfer::finishRefused(const Reply& reply, int missingLevels)
{
    if (reply.isNegative()) {
        finishWith({ .domain = FTPStreamError::Domain::FTP, .code = reply.code, .missingLevels = missingLevels }, true);
    } else {
        fail(); // An answer that does not fit the question.
    }
}

/// Whether the server may have done what it was asked for, although it has not said so.
bool Transfer::isUndecided() const
{
    switch (m_request.kind) {
    case Kind::FolderCreation:
        return m_state == State::AwaitingConsent && !m_request.isAboutFolder(); // Which can be made once more.
    case Kind::Upload:
        return m_state == State::Confirming || (m_state == State::Delivering && !m_data.isEnding());
    case Kind::Listing:
    case Kind::Download:
    case Kind::ConnectionTest:
        break;
    }
    return false;
}

void Transfer::fail()
{
    using enum FTPStreamError::Domain;
    finishWith({ .domain = m_progress.wasSilent ? Silent : Other, .isUndecided = isUndecided() }, false);
}

FTPStreamError::Stage Transfer::stageOfError() const
{
    using enum FTPStreamError::Stage;
    if (m_try.isUnprotected) {
        return Securing;
    }
    switch (m_progress.stage) {
    case Stage::Connecting:
        return m_progress.isHostKnown ? Connecting : Resolving;
    case Stage::Connected:
        return Securing;
    case Stage::LoggingIn:
        return m_state == State::AwaitingConsent ? Acting : LoggingIn; // A kept login may have gone unmentioned.
    case Stage::LoggedIn:
        break;
    }
    return m_state == State::SettingUp ? EnteringFolder : Acting;
}

void Transfer::finishWith(FTPStreamError error, bool keepConnection)
{
    const bool isOwnLogin = m_request.standsBack && m_try.connection != nullptr
        && m_engine.pool().hasOtherLogin(*m_try.connection) && error.domain != FTPStreamError::Domain::Certificate;
    if (isOwnLogin && recover(Trouble::OwnLoginFailed)) {
        return;
    }
    m_error = error;
    m_error.stage = stageOfError();
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
    // A copy, since the delegate may abandon the transfer, which drops the original.
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
