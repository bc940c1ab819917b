#pragma once

#include "FTPConnectionTest.h"

#include <QString>

/// The state of a connection test, as a sentence or two for the user.
QString connectionTestText(const FTPConnectionTestReport& report);
