#pragma once

#include "FTPConnectionTest.h"

#include <QPointer>

class CertificateTrust;
class FTPEngine;
class Transfer;

/// Tries a connection as the streams of an engine would make it: the same conversation up to the folder, on a
/// connection of its own that quits at the end, so that no kept connection hides a wrong login.
class ConnectionTest final : public FTPConnectionTest {
public:
    /// @p trust judges certificates that are not good, and outlives the test; null: they are refused.
    ConnectionTest(FTPEngine& engine, const FTPConnectionTestRequest& request, CertificateTrust* trust,
                   FTPConnectionTestHandler handler);
    ~ConnectionTest() override;

private:
    void stageReached();
    void ended();
    void report(FTPConnectionTestState state);
    FTPConnectionTestState endState() const;

    FTPConnectionTestHandler m_handler;
    FTPEncryption m_encryption;
    bool m_createsFolder;
    bool m_isSendable = true;
    FTPConnectionTestState m_reported = FTPConnectionTestState::Connecting;
    QPointer<Transfer> m_transfer; ///< Destroyed through the loop: it may be the one that is reporting.
};
