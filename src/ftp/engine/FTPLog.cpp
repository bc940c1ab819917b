#include "FTPLog.h"

Q_LOGGING_CATEGORY(ftpLog, "ftp", QtWarningMsg)
