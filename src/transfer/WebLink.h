#pragma once

#include <QString>

/// The web address of the item at the location @p item, where the folder at the location @p folder, "/" at its end, has
/// the web address @p base: that and the same path below the folder, its bytes percent-encoded. Null without a base,
/// and for an item that does not lie below the folder.
QString webLink(const QString& base, const QString& folder, const QString& item);

/// Whether the present settings have a web address of the folder.
bool hasWebAddress();

/// The web address of @p item by the present settings.
QString webLink(const QString& item);
