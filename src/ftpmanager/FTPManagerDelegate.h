#pragma once

#include <QtGlobal>

#include <optional>

namespace quillbox {

/// How far an upload or a download has come.
struct FTPManagerProgress {
    quint64 fileSize = 0; ///< Bytes of the whole transfer; never 0.
    quint64 bytesProcessed = 0; ///< Bytes of the latest step.
    quint64 fileSizeProcessed = 0; ///< Bytes so far.
    float progress = 0; ///< The part that is done, from 0 to 1.
};

/// Receives progress from an FTPManager, on the worker thread of the running operation, while the operation's caller
/// waits. Both reports may be left out.
class Q_DECL_EXPORT FTPManagerDelegate {
public:
    /// A part of the upload has been sent.
    /// @param progress as FTPManager::progress() answers it: std::nullopt for a file without a byte
    virtual void ftpManagerUploadProgressDidChange(const std::optional<FTPManagerProgress>& progress);
    /// The download has begun, or a part of it has come.
    /// @param progress as FTPManager::progress() answers it: std::nullopt as long as the size is unknown
    virtual void ftpManagerDownloadProgressDidChange(const std::optional<FTPManagerProgress>& progress);

protected:
    ~FTPManagerDelegate() = default;
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::FTPManagerDelegate;
using quillbox::FTPManagerProgress;
#endif
