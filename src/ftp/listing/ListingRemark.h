#pragma once

#include <QByteArrayView>

/// Whether @p line of a listing, which names no item, is one of those that servers send beside items: blanks, the sum
/// at the beginning, the name of a folder above its items, and what DIR says of a drive. Of any other line nobody knows
/// what it stands for, and it may be an item.
bool isListingRemark(QByteArrayView line);
