#pragma once

#include "PathList.h"
#include "UploadRequest.h"

#include <QStringList>

/// What somebody has dropped, pasted or opened at once, or a part of it.
struct Drop {
    PathList paths; ///< To be uploaded.
    QStringList leftOut = {}; ///< What came with them and is not.
    UploadRequest request = {};
};
