#include "ConnectionProbe.h"

#include "Transfer.h"

bool isEnd(FTPProbeState state)
{
    return state >= FTPProbeState::Works; // All ends stand behind what comes before them.
}

ConnectionProbe::ConnectionProbe(FTPEngine& engine, const FTPProbeRequest& request, CertificateTrust* trust,
                                 FTPProbeHandler handler)
    : m_handler(std::move(handler))
    , m_encryption(request.encryption)
{
    TransferRequest probe;
    probe.kind = TransferRequest::Kind::ConnectionTest;
    probe.location = FTPLocation::fromText(request.location);
    if (!request.userName.isEmpty() && !request.password.isEmpty()) {
        probe.userName = request.userName.toUtf8();
        probe.password = request.password.toUtf8();
    }
    probe.encryption = request.encryption;
    probe.certificateTrust = trust;
    m_transfer = new Transfer(engine, probe, [this](FTPStreamEvent) { ended(); });
    m_isSendable = probe.canBeSent();
    QObject::connect(m_transfer, &Transfer::stageReached, m_transfer, [this] { stageReached(); });
    m_transfer->start();
}

ConnectionProbe::~ConnectionProbe()
{
    if (m_transfer != nullptr) {
        m_transfer->disconnect();
        m_transfer->abandon();
        m_transfer->deleteLater();
    }
}

void ConnectionProbe::stageReached()
{
    switch (m_transfer->progress().stage) {
    case Transfer::Stage::Connecting:
        report(FTPProbeState::Connecting);
        break;
    case Transfer::Stage::Connected:
    case Transfer::Stage::LoggingIn:
        report(FTPProbeState::LoggingIn);
        break;
    case Transfer::Stage::LoggedIn:
        report(FTPProbeState::OpeningFolder);
        break;
    }
}

void ConnectionProbe::ended()
{
    m_reported = endState();
    if (const FTPProbeHandler handler = m_handler) {
        handler({ m_reported, m_transfer->progress().reply, m_transfer->progress().security });
    }
}

void ConnectionProbe::report(FTPProbeState state)
{
    if (state == m_reported || isEnd(m_reported)) {
        return; // A stage is reported through the loop, so the end may come before it.
    }
    m_reported = state;
    // A copy, since whoever hears it may destroy this.
    if (const FTPProbeHandler handler = m_handler) {
        handler({ state, m_transfer->progress().reply, m_transfer->progress().security });
    }
}

FTPProbeState ConnectionProbe::endState() const
{
    const Transfer::Progress& progress = m_transfer->progress();
    switch (m_transfer->error().domain) {
    case FTPStreamError::Domain::None:
        return FTPProbeState::Works;
    case FTPStreamError::Domain::Certificate:
        return FTPProbeState::NotTrusted;
    case FTPStreamError::Domain::FTP:
        return progress.stage == Transfer::Stage::LoggedIn ? FTPProbeState::FolderRefused : FTPProbeState::LoginRefused;
    case FTPStreamError::Domain::Other:
        break;
    }
    if (!m_isSendable) {
        return FTPProbeState::NotSendable;
    }
    if (progress.wasSilent) {
        return FTPProbeState::NoAnswer;
    }
    switch (progress.stage) {
    case Transfer::Stage::Connecting:
        return FTPProbeState::Unreachable;
    case Transfer::Stage::Connected:
        return m_encryption == FTPEncryption::Required && !progress.reply.isNull() ? FTPProbeState::NotEncrypted
                                                                                   : FTPProbeState::Lost;
    case Transfer::Stage::LoggingIn:
    case Transfer::Stage::LoggedIn:
        break;
    }
    return FTPProbeState::Lost;
}
