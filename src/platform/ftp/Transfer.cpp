#include "Transfer.h"

#include "CertificateQuestions.h"
#include "DeliveryGate.h"
#include "TlsChannel.h"

#include <utility>

namespace {

/// A path that does not begin with "/", safe from servers that take a "~" at its beginning for a home folder.
QByteArray relativeArgument(const QByteArray& path)
{
    return path.startsWith('~') ? "./" + path : path;
}

/// The absolute form of a location's folder; nothing when the server did not tell the login folder.
std::optional<QByteArray> absoluteFolder(const QByteArray& folder, const std::optional<QByteArray>& loginFolder)
{
    if (folder.startsWith('/')) {
        return folder;
    }
    if (!loginFolder || folder.isEmpty()) {
        return loginFolder;
    }
    return loginFolder->endsWith('/') ? *loginFolder + folder : *loginFolder + '/' + folder;
}

} // namespace

Transfer::Transfer(FTPEngine& engine, Request request, std::function<void(FTPStreamEvent)> report)
    : QObject(&engine.transfers())
    , m_engine(engine)
    , m_pool(engine.pool())
    , m_request(std::move(request))
    , m_report(std::move(report))
    , m_data(engine.gate())
    , m_watchdog(engine.gate())
{
    connect(&m_data, &DataConnection::reached, this, [this] { m_watchdog.start(m_engine.timeouts().reply); });
    connect(&m_data, &DataConnection::connected, this, &Transfer::dataConnected);
    connect(&m_data, &DataConnection::readable, this, &Transfer::dataReadable);
    connect(&m_data, &DataConnection::writable, this, &Transfer::dataWritable);
    connect(&m_data, &DataConnection::failed, this, &Transfer::dataFailed);
    connect(&m_watchdog, &Watchdog::expired, this, &Transfer::silence);
    connect(&m_engine.gate(), &DeliveryGate::opened, this, &Transfer::reportWhatWaited, Qt::QueuedConnection);
}

Transfer::~Transfer()
{
    abandon();
}

void Transfer::start()
{
    if (m_request.kind == Kind::Upload) {
        m_pool.forgetUploadReply();
    }
    QMetaObject::invokeMethod(this, &Transfer::begin, Qt::QueuedConnection);
}

void Transfer::abandon()
{
    m_report = nullptr;
    m_state = State::Finished;
    m_watchdog.stop();
    m_data.reset();
    letGoOfConnection(true);
}

void Transfer::begin()
{
    if (m_state == State::Finished) {
        return;
    }
    if (!canBeRequested()) {
        fail();
        return;
    }
    const FTPLocation& location = *m_request.location;
    m_key = { location.host, location.port, m_request.userName, m_request.password, m_request.encryption };
    if (isAboutFolder()) {
        m_folder = location.pathWithoutTrailingSlashes();
    } else {
        m_folder = location.folder();
        m_name = location.name();
    }
    takeConnection(ConnectionPool::Reuse::Allowed);
}

bool Transfer::canBeRequested() const
{
    const bool isWhole = m_request.location && canBeSent(m_request.userName) && canBeSent(m_request.password)
        && canBeSent(m_request.location->path);
    return isWhole && (isAboutFolder() || !m_request.location->name().isEmpty());
}

/// Whether it is about a folder rather than an item in one.
bool Transfer::isAboutFolder() const
{
    return m_request.kind == Kind::Listing || m_request.kind == Kind::Probe;
}

bool Transfer::movesData() const
{
    return m_request.kind != Kind::FolderCreation && m_request.kind != Kind::Probe;
}

void Transfer::reach(Stage stage)
{
    m_progress.stage = stage;
    // From the loop: whoever hears it may abandon the transfer.
    QMetaObject::invokeMethod(this, &Transfer::stageReached, Qt::QueuedConnection);
}

void Transfer::takeConnection(ConnectionPool::Reuse reuse)
{
    if (m_request.kind == Kind::Probe) {
        // Some servers allow one login alone, and only a login that is made anew tells anything.
        m_pool.closeIdle(m_key.host, m_key.port);
        reuse = ConnectionPool::Reuse::Apart;
        m_progress.security.reset();
        reach(Stage::Connecting);
    }
    m_replySeen = false;
    m_preliminaries = 0;
    m_userAccepted = false;
    m_extendedPassive = false;
    m_port = 0;
    m_dataStands = false;
    m_accepted = false;
    m_dataWaitsForAcceptance = false;
    m_confirmed = false;
    m_plan.clear();
    m_connection = &m_pool.acquire(m_key, *this, reuse);
    m_replied = connect(m_connection, &ControlConnection::replied, this,
                        [this](const QString& line) { m_progress.reply = line; });
    if (m_connection->isEstablished()) {
        m_state = State::Preparing;
        m_watchdog.start(m_engine.timeouts().reply);
        prepare();
        return;
    }
    m_state = State::Connecting;
    m_watchdog.start(m_engine.timeouts().connect);
    m_established = connect(m_connection, &ControlConnection::established, this, [this] {
        m_state = State::Preparing; // The greeting is the first reply.
        m_watchdog.start(m_engine.timeouts().reply);
        reach(Stage::Connected);
    });
}

void Transfer::greeted()
{
    if (m_key.encryption == FTPEncryption::None) {
        prepare();
        return;
    }
    // Nothing goes along with it: before the handshake anybody may listen and answer.
    m_state = State::Securing;
    m_connection->send({ { FTPVerb::Auth, "TLS" } });
}

void Transfer::authAnswered(const Reply& reply)
{
    if (reply.code == 234) {
        m_connection->startEncryption();
    } else {
        fail(); // No TLS, no login.
    }
}

void Transfer::encryptionStands()
{
    const ServerCertificate certificate = m_connection->tls()->certificate();
    if (certificate.problems.isEmpty() || m_request.trustedCertificates.contains(certificate.fingerprint)) {
        secured();
        return;
    }
    if (m_request.certificateTrust == nullptr) {
        trustAnswered(false);
        return;
    }
    m_state = State::AwaitingTrust;
    m_watchdog.stop();
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
    } else if (m_connection == nullptr || !m_connection->isUsable()) {
        if (std::exchange(m_triedAfterTrust, true)) {
            fail(); // It leaves whenever its certificate is looked at.
            return;
        }
        // The server would not wait for the answer.
        letGoOfConnection(false);
        takeConnection(ConnectionPool::Reuse::Fresh);
    } else {
        secured();
    }
}

void Transfer::secured()
{
    m_state = State::Preparing;
    m_watchdog.start(m_engine.timeouts().reply);
    prepare();
}

void Transfer::prepare()
{
    const TlsChannel* const tls = m_connection->tls();
    m_progress.security
        = tls != nullptr ? FTPSecurity{ tls->protocol(), tls->isVouchedFor(), tls->cipher() } : FTPSecurity();
    if (m_request.kind != Kind::Probe) {
        m_pool.setLastSecurity(*m_progress.security);
    }
    reach(Stage::LoggingIn);
    ControlConnection::Session& session = m_connection->session();
    m_plan.clear();
    if (!session.loggedIn) {
        m_plan = loginCommands();
    } else if (session.folder != m_folder || !session.binary) {
        const std::optional<QByteArray> folder = absoluteFolder(m_folder, session.loginFolder);
        if (!folder) {
            // Where this session stands is unknown; a new one stands in the login folder.
            letGoOfConnection(false);
            takeConnection(ConnectionPool::Reuse::Fresh);
            return;
        }
        // The type again behind it: some servers forget it when the folder changes.
        m_plan = { { FTPVerb::Cwd, *folder }, { FTPVerb::Type, "I" } };
    }
    if (m_request.kind == Kind::Download && m_request.fetchSize) {
        m_plan.append({ FTPVerb::Size, relativeArgument(m_name) });
    }
    if (movesData()) {
        m_plan.append(passiveCommand());
    } else if (m_plan.isEmpty()) {
        // Finds out whether a kept connection still lives: MKD itself must not be sent twice.
        m_plan.append({ FTPVerb::Type, "I" });
    }
    sendPlanned();
}

QList<FTPCommand> Transfer::loginCommands() const
{
    // Nothing that changes anything on the server may follow a CWD whose reply has not been seen: were it refused,
    // the change would happen in another folder.
    QList<FTPCommand> commands;
    if (m_connection->tls() != nullptr) {
        // Encrypts data connections (RFC 4217, section 9). In front, so that the replies to a login stand together:
        // some servers think about a wrong password and answer what follows meanwhile.
        commands = { { FTPVerb::Pbsz, "0" }, { FTPVerb::Prot, "P" } };
    }
    if (m_request.userName.isEmpty()) {
        commands.append({ { FTPVerb::User, "anonymous" }, { FTPVerb::Pass, "anonymous@" } });
    } else {
        commands.append({ { FTPVerb::User, m_request.userName }, { FTPVerb::Pass, m_request.password } });
    }
    commands.append({ FTPVerb::Pwd, {} });
    if (!m_folder.isEmpty()) {
        commands.append({ FTPVerb::Cwd, relativeArgument(m_folder) });
    }
    commands.append({ FTPVerb::Type, "I" });
    return commands;
}

FTPCommand Transfer::passiveCommand() const
{
    const bool isIPv4 = m_connection->peerAddress().protocol() == QAbstractSocket::IPv4Protocol;
    return { isIPv4 && m_engine.traits(m_key).passiveOnly ? FTPVerb::Pasv : FTPVerb::Epsv, {} };
}

void Transfer::sendPlanned()
{
    if (m_plan.isEmpty()) {
        if (!m_connection->isPending()) {
            prepared();
        }
        return;
    }
    const bool inTurn = m_engine.traits(m_key).strict;
    if (inTurn && m_connection->isPending()) {
        return;
    }
    const QList<FTPCommand> commands = inTurn ? QList<FTPCommand>{ m_plan.takeFirst() } : std::exchange(m_plan, {});
    for (const FTPCommand& command : commands) {
        if (command.verb == FTPVerb::Cwd) {
            m_connection->session().folder.reset(); // Unknown until the reply.
        } else if (command.verb == FTPVerb::Type) {
            m_connection->session().binary = false;
        }
    }
    m_connection->send(commands);
}

void Transfer::prepared()
{
    if (m_request.kind == Kind::Probe) {
        succeed(FTPStreamEvent::EndEncountered);
        return;
    }
    m_state = State::Opening;
    m_watchdog.start(m_engine.timeouts().reply);
    if (m_request.kind == Kind::FolderCreation) {
        m_connection->send({ { FTPVerb::Mkd, relativeArgument(m_name) } });
        report(FTPStreamEvent::OpenCompleted);
    } else {
        openData();
    }
}

void Transfer::openData()
{
    m_watchdog.start(m_engine.timeouts().connect);
    if (!m_data.connectTo(m_connection->peerAddress(), m_port, m_connection->tls())) {
        fail();
        return;
    }
    switch (m_request.kind) {
    case Kind::Upload:
        m_connection->send({ { FTPVerb::Stor, relativeArgument(m_name) } });
        break;
    case Kind::Download:
        m_connection->send({ { FTPVerb::Retr, relativeArgument(m_name) } });
        break;
    case Kind::Listing:
    case Kind::FolderCreation:
    case Kind::Probe:
        m_connection->send({ { FTPVerb::List, {} } });
        break;
    }
}

bool Transfer::retryOnFreshConnection()
{
    if (m_reported || std::exchange(m_triedFresh, true)) {
        return false;
    }
    retry();
    return true;
}

bool Transfer::retryInTurn()
{
    if (m_reported || m_engine.traits(m_key).strict || std::exchange(m_triedInTurn, true)) {
        return false;
    }
    m_engine.traits(m_key).strict = true;
    retry();
    return true;
}

bool Transfer::retryWithPasv()
{
    const bool isIPv4 = m_connection->peerAddress().protocol() == QAbstractSocket::IPv4Protocol;
    if (m_reported || !isIPv4 || std::exchange(m_triedPasv, true)) {
        return false;
    }
    m_engine.traits(m_key).passiveOnly = true;
    retry();
    return true;
}

void Transfer::retry()
{
    m_data.reset();
    letGoOfConnection(false);
    takeConnection(ConnectionPool::Reuse::Fresh);
}

void Transfer::letGoOfConnection(bool keep)
{
    disconnect(m_established);
    disconnect(m_replied);
    if (ControlConnection* const connection = std::exchange(m_connection, nullptr)) {
        if (keep && connection->session().loggedIn) {
            if (m_request.kind == Kind::Probe) {
                m_pool.takeLeave(*connection);
            } else {
                m_pool.release(*connection);
            }
        } else {
            m_pool.discard(*connection);
        }
    }
}

void Transfer::succeed(FTPStreamEvent event)
{
    m_state = State::Finished;
    m_watchdog.stop();
    m_data.close();
    letGoOfConnection(true);
    report(event);
}

void Transfer::fail()
{
    finishWith({ FTPStreamError::Domain::Other, 0 }, false);
}

void Transfer::finishWith(FTPStreamError error, bool keepConnection)
{
    m_error = error;
    m_state = State::Finished;
    m_watchdog.stop();
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
