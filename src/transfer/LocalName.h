#pragma once

#include "ListingEntry.h"
#include "LocalPath.h"

/// The name (LocalPath) of a local file that would be listed as @p entry when it is uploaded.
inline QString localName(const ListingEntry& entry)
{
    return entry.rawName.isNull() ? entry.name : LocalPath::fromBytes(entry.rawName);
}
