#pragma once

#include <QString>

/// @p text as a tool tip that shows it as it stands: what looks like markup is none, and long lines break anywhere.
/// Empty for an empty text.
QString plainToolTip(const QString& text);
