#include "FTPManagerDelegate.h"

namespace quillbox {

void FTPManagerDelegate::ftpManagerUploadProgressDidChange(const std::optional<FTPManagerProgress>& /*progress*/) { }

void FTPManagerDelegate::ftpManagerDownloadProgressDidChange(const std::optional<FTPManagerProgress>& /*progress*/) { }

} // namespace quillbox
