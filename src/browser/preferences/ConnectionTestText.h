#pragma once

#include "FTPConnectionTest.h"

#include <QString>

/// The state of a connection test, as one sentence for the user.
QString connectionTestText(const FTPConnectionTestReport& report);

/// The server's words where they say why; null elsewhere, since what it said last may be about anything.
QString connectionTestReason(const FTPConnectionTestReport& report);
