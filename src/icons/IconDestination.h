#pragma once

#include "DropIcons.h"

/// Where the files of @p icon go, as a location; null when its settings, or the main ones, name no usable address.
/// Settings of an icon's own stay as they are, were they open to others.
QString destinationOf(const DropIcons::Icon& icon);

/// Why that is null, as the end of a sentence.
QString whyNowhere(const DropIcons::Icon& icon);
