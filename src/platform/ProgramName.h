#pragma once

#include <QString>

/// The file name under which this program was started: of the copy or the link, not of what a link leads to. Null
/// before the application object exists.
QString programFileName();

/// Lets tests run under another name; null brings the true one back.
void setProgramFileName(const QString& name);
