#pragma once

#include "ListEntries.h"

#include <QStringList>

/// A plain file of a listing.
inline ListingEntry fileEntry(const QString& name, qint64 size = 0)
{
    ListingEntry entry;
    entry.name = name;
    entry.size = size;
    entry.type = ListingEntry::plainFileType;
    entry.mode = 0644;
    return entry;
}

inline ListingEntry folderEntry(const QString& name)
{
    ListingEntry entry = fileEntry(name);
    entry.type = ListingEntry::folderType;
    entry.mode = 0755;
    return entry;
}

/// The names in the order of the rows.
inline QStringList namesOf(const ListEntries& entries)
{
    QStringList names;
    for (qsizetype row = 0; row < entries.size(); ++row) {
        names.append(entries.at(row).name);
    }
    return names;
}
