#pragma once

#include "Destination.h"
#include "PathList.h"
#include "UploadRequest.h"

#include <QStringList>

/// What somebody has dropped, pasted or opened at once, or a part of it.
struct Drop {
    PathList paths; ///< To be uploaded.
    QStringList leftOut = {}; ///< What came with them and is not.
    UploadRequest request = {};
    Destination bound = {}; ///< They go there or nowhere; null: wherever is in force at their turn.
    bool isHeld = false; ///< It waits for an answer before it joins the queue, where it needs one.
};
