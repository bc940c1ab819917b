#pragma once

#include "FTPProbe.h"

#include <QPointer>

class CertificateTrust;
class FTPEngine;
class Transfer;

/// Tries a connection as the streams of an engine would make it: the same conversation up to the folder, on a
/// connection of its own that quits at the end, so that no kept connection hides a wrong login.
class ConnectionProbe final : public FTPProbe {
public:
    /// @p trust judges certificates that are not good, and outlives the probe; null: they are refused.
    ConnectionProbe(FTPEngine& engine, const FTPProbeRequest& request, CertificateTrust* trust,
                    FTPProbeHandler handler);
    ~ConnectionProbe() override;

private:
    void stageReached();
    void ended();
    void report(FTPProbeState state);
    FTPProbeState endState() const;

    FTPProbeHandler m_handler;
    FTPEncryption m_encryption;
    bool m_isSendable = true;
    FTPProbeState m_reported = FTPProbeState::Connecting;
    QPointer<Transfer> m_transfer; ///< Destroyed through the loop: it may be the one that is reporting.
};
