#pragma once

#include <QString>

/// The file name under which this program was started: the drop icon's or the link's, not its target's. Null before the
/// application object exists.
QString programFileName();

/// Lets tests run under another name; null brings the true one back.
void setProgramFileName(const QString& name);
