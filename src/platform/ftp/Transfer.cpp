#include "Transfer.h"

#include "DeliveryGate.h"
#include "FTPLog.h"
#include "PassiveReply.h"

#include <algorithm>
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

bool isCompletion(const Reply& reply)
{
    return reply.code == 226 || reply.code == 250;
}

/// Whether the server did not understand, or not in this order: what pipelining leads to where it is not understood.
bool isConfused(const Reply& reply)
{
    return reply.code == 500 || reply.code == 503;
}

} // namespace

Transfer::Transfer(ConnectionPool& pool, Request request, std::function<void(FTPStreamEvent)> report)
    : m_pool(pool)
    , m_request(std::move(request))
    , m_report(std::move(report))
    , m_data(pool.gate())
    , m_watchdog(pool.gate())
{
    connect(&m_data, &DataConnection::connected, this, &Transfer::dataConnected);
    connect(&m_data, &DataConnection::readable, this, &Transfer::dataReadable);
    connect(&m_data, &DataConnection::writable, this, &Transfer::dataWritable);
    connect(&m_data, &DataConnection::failed, this, &Transfer::dataFailed);
    connect(&m_watchdog, &Watchdog::expired, this, &Transfer::silence);
    connect(&m_pool.gate(), &DeliveryGate::opened, this, &Transfer::reportWhatWaited, Qt::QueuedConnection);
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
    m_state = State::Finished;
    m_watchdog.stop();
    m_data.reset();
    letGoOfConnection(true);
}

// Set-up

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
    m_key = { location.host, location.port, m_request.userName, m_request.password };
    if (m_request.kind == Kind::Listing) {
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
    return isWhole && (m_request.kind == Kind::Listing || !m_request.location->name().isEmpty());
}

void Transfer::takeConnection(ConnectionPool::Reuse reuse)
{
    m_replySeen = false;
    m_userAccepted = false;
    m_extendedPassive = false;
    m_port = 0;
    m_dataStands = false;
    m_accepted = false;
    m_dataWaitsForAcceptance = false;
    m_confirmed = false;
    m_plan.clear();
    m_connection = &m_pool.acquire(m_key, *this, reuse);
    if (m_connection->isEstablished()) {
        m_state = State::Preparing;
        m_watchdog.start(m_pool.timeouts().reply);
        prepare();
        return;
    }
    m_state = State::Connecting;
    m_watchdog.start(m_pool.timeouts().connect);
    m_established = connect(m_connection, &ControlConnection::established, this, [this] {
        m_state = State::Preparing; // The greeting is the first reply.
        m_watchdog.start(m_pool.timeouts().reply);
    });
}

void Transfer::prepare()
{
    ControlConnection::Session& session = m_connection->session();
    m_plan.clear();
    if (!session.loggedIn) {
        m_plan = loginCommands();
    } else if (session.folder != m_folder) {
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
    if (m_request.kind != Kind::FolderCreation) {
        m_plan.append(passiveCommand());
    }
    sendPlanned();
}

QList<FTPCommand> Transfer::loginCommands() const
{
    // Nothing that changes anything on the server may follow a CWD whose reply has not been seen: were it refused,
    // the change would happen in another folder.
    QList<FTPCommand> commands;
    if (m_request.userName.isEmpty()) {
        commands = { { FTPVerb::User, "anonymous" }, { FTPVerb::Pass, "anonymous@" } };
    } else {
        commands = { { FTPVerb::User, m_request.userName }, { FTPVerb::Pass, m_request.password } };
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
    return { isIPv4 && m_pool.traits(m_key).passiveOnly ? FTPVerb::Pasv : FTPVerb::Epsv, {} };
}

void Transfer::sendPlanned()
{
    if (m_plan.isEmpty()) {
        if (!m_connection->isPending()) {
            prepared();
        }
        return;
    }
    const bool inTurn = m_pool.traits(m_key).strict;
    if (inTurn && m_connection->isPending()) {
        return;
    }
    const QList<FTPCommand> commands = inTurn ? QList<FTPCommand>{ m_plan.takeFirst() } : std::exchange(m_plan, {});
    for (const FTPCommand& command : commands) {
        if (command.verb == FTPVerb::Cwd) {
            m_connection->session().folder.reset(); // Unknown until the reply.
        }
    }
    m_connection->send(commands);
}

void Transfer::prepared()
{
    m_state = State::Opening;
    m_watchdog.start(m_pool.timeouts().reply);
    if (m_request.kind == Kind::FolderCreation) {
        m_connection->send({ { FTPVerb::Mkd, relativeArgument(m_name) } });
        report(FTPStreamEvent::OpenCompleted);
    } else {
        openData();
    }
}

void Transfer::openData()
{
    m_watchdog.start(m_pool.timeouts().connect);
    if (!m_data.connectTo(m_connection->peerAddress(), m_port)) {
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
        m_connection->send({ { FTPVerb::List, {} } });
        break;
    }
}

// Replies

void Transfer::replyArrived(const FTPCommand& command, const Reply& reply)
{
    if (reply.code == 421) {
        serviceEnds(reply);
        return;
    }
    m_replySeen = true;
    switch (command.verb) {
    case FTPVerb::Stor:
    case FTPVerb::Retr:
    case FTPVerb::List:
        judgeTransfer(reply);
        break;
    case FTPVerb::Mkd:
        judgeCreation(reply);
        break;
    case FTPVerb::Greeting:
    case FTPVerb::User:
    case FTPVerb::Pass:
    case FTPVerb::Pwd:
    case FTPVerb::Cwd:
    case FTPVerb::Type:
    case FTPVerb::Epsv:
    case FTPVerb::Pasv:
    case FTPVerb::Size:
    case FTPVerb::Quit:
        m_watchdog.touch();
        if (!reply.isPreliminary()) {
            judgeSetUp(command, reply);
        }
        break;
    }
}

void Transfer::judgeSetUp(const FTPCommand& command, const Reply& reply)
{
    ControlConnection::Session& session = m_connection->session();
    switch (command.verb) {
    case FTPVerb::Greeting:
        if (reply.isPositive()) {
            prepare();
        } else {
            finishRefused(reply);
        }
        return;
    case FTPVerb::User:
        judgeUser(reply);
        return;
    case FTPVerb::Pass:
        judgePass(reply);
        return;
    case FTPVerb::Pwd:
        if (reply.code == 257) {
            session.loginFolder = folderOfReply(reply.text);
        }
        break;
    case FTPVerb::Cwd:
    case FTPVerb::Type:
        if (!reply.isPositive()) {
            refuse(reply);
            return;
        }
        if (command.verb == FTPVerb::Cwd) {
            session.folder = m_folder;
        }
        break;
    case FTPVerb::Size:
        if (reply.code == 213) {
            bool isNumber = false;
            const qint64 size = reply.text.trimmed().toLongLong(&isNumber);
            m_size = isNumber && size >= 0 ? std::optional(size) : std::nullopt;
        }
        break;
    case FTPVerb::Epsv:
    case FTPVerb::Pasv:
        judgePassive(command.verb, reply);
        return;
    case FTPVerb::Stor:
    case FTPVerb::Retr:
    case FTPVerb::List:
    case FTPVerb::Mkd:
    case FTPVerb::Quit:
        break;
    }
    sendPlanned();
}

void Transfer::judgeUser(const Reply& reply)
{
    if (reply.isPositive()) {
        m_userAccepted = true;
        m_connection->session().loggedIn = true;
    } else if (reply.code != 331) {
        refuse(reply);
        return;
    }
    sendPlanned();
}

void Transfer::judgePass(const Reply& reply)
{
    // Without a wanted password the command is out of order (503), which says nothing about the login.
    if (!reply.isPositive() && !(m_userAccepted && reply.code == 503)) {
        refuse(reply);
        return;
    }
    ControlConnection::Session& session = m_connection->session();
    session.loggedIn = true;
    if (m_folder.isEmpty()) {
        session.folder = m_folder;
    }
    sendPlanned();
}

void Transfer::judgePassive(FTPVerb verb, const Reply& reply)
{
    const bool extended = verb == FTPVerb::Epsv;
    std::optional<quint16> port;
    if (reply.code == (extended ? 229 : 227)) {
        port = extended ? portOfExtendedPassiveReply(reply.text) : portOfPassiveReply(reply.text);
    }
    if (port) {
        m_port = *port;
        m_extendedPassive = extended;
        sendPlanned();
        return;
    }
    const bool isIPv4 = m_connection->peerAddress().protocol() == QAbstractSocket::IPv4Protocol;
    const bool isUnknown = reply.isPositive() || (reply.code >= 500 && reply.code != 530);
    if (extended && isIPv4 && isUnknown) {
        m_pool.traits(m_key).passiveOnly = true;
        m_plan.prepend({ FTPVerb::Pasv, {} });
        sendPlanned();
        return;
    }
    refuse(reply);
}

void Transfer::judgeTransfer(const Reply& reply)
{
    if (m_state == State::AwaitingReason) {
        if (reply.isNegative()) {
            refuse(reply);
        } else if (!reply.isPreliminary()) {
            fail(); // The server may be content, but its data connection broke.
        }
        return;
    }
    if (reply.isPreliminary()) {
        m_watchdog.touch();
        m_accepted = true;
        if (m_request.kind != Kind::Upload && m_state == State::Opening && m_dataStands) {
            accepted();
        }
        return;
    }
    if (!isCompletion(reply)) {
        refuse(reply);
        return;
    }
    m_confirmed = true;
    if (m_state == State::Confirming) {
        if (m_request.kind == Kind::Upload) {
            succeed(FTPStreamEvent::HasSpaceAvailable);
        } else {
            dataEnded();
        }
    } else if (m_request.kind == Kind::Upload) {
        fail(); // It cannot confirm what it has not got.
    } else if (m_state == State::Opening) {
        m_accepted = true; // Some servers never announce the data.
        if (m_dataStands) {
            accepted();
        }
    }
}

void Transfer::judgeCreation(const Reply& reply)
{
    if (reply.isPositive()) {
        succeed(FTPStreamEvent::EndEncountered);
    } else if (!reply.isPreliminary()) {
        refuse(reply);
    }
}

void Transfer::serviceEnds(const Reply& reply)
{
    if (!m_replySeen && m_connection->isReused() && retryOnFreshConnection()) {
        return;
    }
    if (!m_connection->session().loggedIn && m_pool.hasOther(*m_connection)) {
        m_state = State::AwaitingLogin;
        m_watchdog.stop();
        letGoOfConnection(false);
        m_pool.callWhenFree(m_key, this, [this] {
            if (m_state == State::AwaitingLogin) {
                takeConnection(ConnectionPool::Reuse::Allowed);
            }
        });
        return;
    }
    finishWith({ FTPStreamError::Domain::FTP, reply.code }, false);
}

void Transfer::unaskedReplyArrived(const Reply& reply)
{
    qCDebug(ftpLog, "an unasked reply %d", reply.code);
}

void Transfer::connectionLost()
{
    if (!m_replySeen && m_connection->isReused() && retryOnFreshConnection()) {
        return;
    }
    if (m_replySeen && !m_connection->isReused() && m_state == State::Preparing && retryInTurn()) {
        return;
    }
    fail();
}

// Data

void Transfer::dataConnected()
{
    m_dataStands = true;
    if (m_request.kind == Kind::Upload) {
        if (m_request.length > 0) {
            m_state = State::Moving;
            m_watchdog.start(m_pool.timeouts().stalledData);
            m_data.watchForWriting();
        } else {
            m_state = State::Confirming;
            m_watchdog.start(m_pool.timeouts().confirmation);
            m_data.endWriting();
        }
        report(FTPStreamEvent::OpenCompleted);
    } else if (m_accepted) {
        accepted();
    } else {
        m_watchdog.start(m_pool.timeouts().reply);
        m_data.watchForReading();
    }
}

void Transfer::accepted()
{
    m_state = State::Moving;
    m_dataWaitsForAcceptance = false;
    m_watchdog.start(m_pool.timeouts().stalledData);
    m_data.watchForReading();
    report(FTPStreamEvent::OpenCompleted);
}

void Transfer::dataReadable()
{
    if (m_state == State::Opening) {
        // The announcement is normally there before the data, so a short wait is enough; but some servers make none.
        m_data.stopWatching();
        m_dataWaitsForAcceptance = true;
        m_watchdog.start(m_pool.timeouts().acceptance);
        return;
    }
    switch (m_data.pending()) {
    case DataConnection::Pending::Nothing:
        break;
    case DataConnection::Pending::Bytes:
        m_watchdog.touch();
        report(FTPStreamEvent::HasBytesAvailable);
        break;
    case DataConnection::Pending::End:
        // At once: some servers send their last word only when the connection is closed on both sides.
        m_data.close();
        m_state = State::Confirming;
        m_watchdog.start(m_pool.timeouts().confirmation);
        if (m_confirmed) {
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
    if (m_size && m_moved < *m_size) {
        fail(); // Shorter than announced is not whole, whatever the server says. Longer is: the file may have grown.
    } else {
        succeed(FTPStreamEvent::HasBytesAvailable);
    }
}

void Transfer::dataWritable()
{
    report(FTPStreamEvent::HasSpaceAvailable);
}

void Transfer::dataFailed()
{
    if (m_state == State::Finished) {
        return;
    }
    m_data.reset();
    m_state = State::AwaitingReason;
    m_watchdog.start(m_pool.timeouts().reason);
}

qint64 Transfer::read(std::span<char> buffer)
{
    if (m_state == State::Finished) {
        return m_confirmed && m_error.domain == FTPStreamError::Domain::None ? 0 : -1;
    }
    if (m_state != State::Moving) {
        return -1;
    }
    const qint64 count = m_data.read(buffer);
    if (count <= 0) {
        return -1; // Nothing was reported to be there. 0 would say that the server has confirmed the end.
    }
    m_moved += count;
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
    const qint64 wanted = std::min(static_cast<qint64>(data.size()), m_request.length - m_moved);
    const qint64 count = m_data.write(data.first(static_cast<std::size_t>(wanted)));
    if (count < 0) {
        dataFailed();
        return static_cast<qint64>(data.size());
    }
    m_moved += count;
    m_watchdog.touch();
    m_unacknowledged = m_data.unacknowledgedBytes();
    if (m_moved == m_request.length) {
        m_data.endWriting();
        m_state = State::Confirming;
        m_watchdog.start(m_pool.timeouts().confirmation);
    }
    return count;
}

// Silence, and further tries

void Transfer::silence()
{
    switch (m_state) {
    case State::Opening:
        if (m_dataWaitsForAcceptance) {
            accepted();
            return;
        }
        if (m_request.kind != Kind::FolderCreation && !m_dataStands) {
            dataFailed();
            return;
        }
        break;
    case State::AwaitingReason:
        if (!m_dataStands && m_extendedPassive && retryWithPasv()) {
            return;
        }
        break;
    case State::Preparing:
        if (!m_replySeen && m_connection->isReused() && retryOnFreshConnection()) {
            return;
        }
        break;
    case State::Moving:
    case State::Confirming:
        // On a slow line the kernel still sends what was taken long ago.
        if (const qint64 left = m_data.unacknowledgedBytes(); left < m_unacknowledged) {
            m_unacknowledged = left;
            m_watchdog.start(m_state == State::Moving ? m_pool.timeouts().stalledData : m_pool.timeouts().confirmation);
            return;
        }
        break;
    case State::New:
    case State::Connecting:
    case State::AwaitingLogin:
    case State::Finished:
        break;
    }
    fail();
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
    if (m_reported || m_pool.traits(m_key).strict || std::exchange(m_triedInTurn, true)) {
        return false;
    }
    m_pool.traits(m_key).strict = true;
    retry();
    return true;
}

bool Transfer::retryWithPasv()
{
    const bool isIPv4 = m_connection->peerAddress().protocol() == QAbstractSocket::IPv4Protocol;
    if (m_reported || !isIPv4 || std::exchange(m_triedPasv, true)) {
        return false;
    }
    m_pool.traits(m_key).passiveOnly = true;
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
    if (ControlConnection* const connection = std::exchange(m_connection, nullptr)) {
        if (keep && connection->session().loggedIn) {
            m_pool.release(*connection);
        } else {
            m_pool.discard(*connection);
        }
    }
}

// Ends

void Transfer::succeed(FTPStreamEvent event)
{
    m_state = State::Finished;
    m_watchdog.stop();
    m_data.close();
    letGoOfConnection(true);
    report(event);
}

void Transfer::refuse(const Reply& reply)
{
    if (isConfused(reply) && !m_connection->isReused() && m_state == State::Preparing && retryInTurn()) {
        return;
    }
    finishRefused(reply);
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
    m_state = State::Finished;
    m_watchdog.stop();
    m_data.reset();
    letGoOfConnection(keepConnection);
    report(FTPStreamEvent::ErrorOccurred);
}

void Transfer::report(FTPStreamEvent event)
{
    if (m_pool.gate().isClosed()) {
        m_waiting = event;
        return;
    }
    m_reported = true;
    if (m_report) {
        m_report(event);
    }
}

void Transfer::reportWhatWaited()
{
    if (m_waiting && !m_pool.gate().isClosed()) {
        report(*std::exchange(m_waiting, std::nullopt));
    }
}
