#pragma once

#include <QString>

/// What is lost when the program ends at this moment: an upload, a download, @p waiting files in the queue, files that
/// dropped folders are looked through for. Null when nothing is.
QString quitWarning(bool isSending, bool isReceiving, qsizetype waiting, bool isLookedThrough);
