#pragma once

#include "LineProcess.h"

#include <QStringList>

/// Stands between the test and an FTP server on this machine, and counts what passes.
class Relay {
public:
    explicit Relay(quint16 serverPort);

    /// Where the server is reached through the relay: the text of a location.
    QString location(const QString& path = {}) const;

    struct Counts {
        int controlConnections = 0;
        int dataConnections = 0;
        QStringList commands; ///< The verbs, in order.
    };
    /// What has passed. Ends the relay.
    Counts stop();

private:
    LineProcess m_process;
};
