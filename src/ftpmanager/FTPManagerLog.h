#pragma once

#include <QLoggingCategory>

/// What the library says beyond its results, as warnings: refused server records and why a transfer has failed. No
/// login is ever written to it.
Q_DECLARE_LOGGING_CATEGORY(ftpManagerLog)
