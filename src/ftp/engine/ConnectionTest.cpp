#include "ConnectionTest.h"

#include "Transfer.h"

bool isEnd(FTPConnectionTestState state)
{
    return state >= FTPConnectionTestState::Works; // The ends come last in the enumeration.
}

ConnectionTest::ConnectionTest(FTPEngine& engine, const FTPConnectionTestRequest& request, CertificateTrust* trust,
                               FTPConnectionTestHandler handler)
    : m_handler(std::move(handler))
    , m_encryption(request.encryption)
    , m_createsFolder(request.createsFolder)
{
    TransferRequest transferRequest;
    transferRequest.kind = TransferRequest::Kind::ConnectionTest;
    transferRequest.location = FTPLocation::fromText(request.location);
    if (!request.userName.isEmpty() && !request.password.isEmpty()) {
        transferRequest.userName = request.userName.toUtf8();
        transferRequest.password = request.password.toUtf8();
    }
    transferRequest.encryption = request.encryption;
    transferRequest.createsFolder = request.createsFolder;
    transferRequest.certificateTrust = trust;
    m_transfer = new Transfer(engine, transferRequest, [this](FTPStreamEvent) { ended(); });
    m_isSendable = transferRequest.canBeSent();
    QObject::connect(m_transfer, &Transfer::stageReached, m_transfer, [this] { stageReached(); });
    m_transfer->start();
}

ConnectionTest::~ConnectionTest()
{
    if (m_transfer != nullptr) {
        m_transfer->disconnect();
        m_transfer->abandon();
        m_transfer->deleteLater();
    }
}

void ConnectionTest::stageReached()
{
    switch (m_transfer->progress().stage) {
    case Transfer::Stage::Connecting:
        report(FTPConnectionTestState::Connecting);
        break;
    case Transfer::Stage::Connected:
    case Transfer::Stage::LoggingIn:
        report(FTPConnectionTestState::LoggingIn);
        break;
    case Transfer::Stage::LoggedIn:
        report(m_createsFolder ? FTPConnectionTestState::CreatingFolder : FTPConnectionTestState::OpeningFolder);
        break;
    }
}

void ConnectionTest::ended()
{
    m_reported = endState();
    if (const FTPConnectionTestHandler handler = m_handler) {
        handler({ m_reported, m_transfer->progress().reply, m_transfer->progress().security });
    }
}

void ConnectionTest::report(FTPConnectionTestState state)
{
    if (state == m_reported || isEnd(m_reported)) {
        return; // A stage is reported through the loop, so the end may come before it.
    }
    m_reported = state;
    // A copy, since the handler may destroy this.
    if (const FTPConnectionTestHandler handler = m_handler) {
        handler({ state, m_transfer->progress().reply, m_transfer->progress().security });
    }
}

FTPConnectionTestState ConnectionTest::endState() const
{
    const Transfer::Progress& progress = m_transfer->progress();
    switch (m_transfer->error().domain) {
    case FTPStreamError::Domain::None:
        return FTPConnectionTestState::Works;
    case FTPStreamError::Domain::Certificate:
        return FTPConnectionTestState::NotTrusted;
    case FTPStreamError::Domain::FTP:
        if (progress.stage != Transfer::Stage::LoggedIn) {
            return FTPConnectionTestState::LoginRefused;
        }
        return m_createsFolder ? FTPConnectionTestState::FolderNotCreated : FTPConnectionTestState::FolderRefused;
    case FTPStreamError::Domain::Silent:
    case FTPStreamError::Domain::Unsendable:
    case FTPStreamError::Domain::Other:
        break;
    }
    if (!m_isSendable) {
        return FTPConnectionTestState::NotSendable;
    }
    if (progress.wasSilent) {
        return FTPConnectionTestState::NoAnswer;
    }
    switch (progress.stage) {
    case Transfer::Stage::Connecting:
        return progress.isHostKnown ? FTPConnectionTestState::Unreachable : FTPConnectionTestState::NoSuchHost;
    case Transfer::Stage::Connected:
        return m_encryption == FTPEncryption::Required && !progress.reply.isNull()
            ? FTPConnectionTestState::NotEncrypted
            : FTPConnectionTestState::Lost;
    case Transfer::Stage::LoggingIn:
    case Transfer::Stage::LoggedIn:
        break;
    }
    return FTPConnectionTestState::Lost;
}
