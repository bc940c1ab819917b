#include "CellValue.h"

#include "ByteCountText.h"
#include "DateText.h"
#include "FileIcons.h"
#include "PermissionText.h"
#include "TableColumns.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace {

QString sizeText(const ListingEntry& entry)
{
    if (!entry.size) {
        return u"?"_s;
    }
    return entry.type == ListingEntry::plainFileType ? byteCountText(*entry.size) : u"-"_s;
}

QVariant typeIcon(const ListingEntry& entry)
{
    if (entry.type == ListingEntry::folderType) {
        return FileIcons::folder();
    }
    if (entry.type == ListingEntry::plainFileType && !entry.name.isNull()) {
        return FileIcons::ofFileNamed(entry.name);
    }
    return {};
}

QString dateText(const ListingEntry& entry)
{
    return entry.modDate ? shortDateShortTimeText(QDateTime::fromMSecsSinceEpoch(*entry.modDate)) : u""_s;
}

} // namespace

QVariant cellValue(const ListingEntry& entry, const QString& column)
{
    if (column == TableColumns::name) {
        return entry.name;
    }
    if (column == TableColumns::size) {
        return sizeText(entry);
    }
    if (column == TableColumns::type) {
        return typeIcon(entry);
    }
    if (column == TableColumns::date) {
        return dateText(entry);
    }
    if (column == TableColumns::mode) {
        return permissionText(entry.type.value_or(0), entry.mode);
    }
    return {};
}
