#include "FTPManagerLog.h"

Q_LOGGING_CATEGORY(ftpManagerLog, "ftpmanager")
