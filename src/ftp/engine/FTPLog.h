#pragma once

#include <QLoggingCategory>

/// The conversation with servers, at debug level. No password is ever written to it.
Q_DECLARE_LOGGING_CATEGORY(ftpLog)
