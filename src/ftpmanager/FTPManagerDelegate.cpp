#include "FTPManagerDelegate.h"

void FTPManagerDelegate::ftpManagerUploadProgressDidChange(const std::optional<FTPManagerProgress>& /*progress*/) { }

void FTPManagerDelegate::ftpManagerDownloadProgressDidChange(const std::optional<FTPManagerProgress>& /*progress*/) { }
