#pragma once

#include "ListingEntry.h"

#include <QVariant>

/// What the listing table shows of @p entry in the column titled @p column: a text, for the type an icon, nothing (an
/// invalid value) where there is nothing to show or no such column. The name is as the server sent it. For the main
/// thread.
QVariant cellValue(const ListingEntry& entry, const QString& column);
