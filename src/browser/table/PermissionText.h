#pragma once

#include <QString>

#include <optional>

/// The type and the permissions of an item as long listings show them ("drwxr-xr-x "), the eleventh character a blank.
/// @p type: an entry's type code, 0 for none. @p mode: its permission bits; without them all is unknown
/// ("???????????").
QString permissionText(int type, std::optional<int> mode);
