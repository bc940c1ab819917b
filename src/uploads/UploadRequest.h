#pragma once

#include <QtGlobal>

/// On whose behalf files are uploaded.
struct UploadRequest {
    quint32 number = 0; ///< Different for each that somebody may wait for; 0: nobody does.
    /// Nobody sits there: no question is asked and no alert raised for these files, and none is tried again by itself.
    bool isUnattended = false;

    friend bool operator==(const UploadRequest&, const UploadRequest&) = default;
};
