#pragma once

#include <span>

// Listing lines as servers send them, with what they tell. The clock that they are read by stands at noon of the 15th
// of June 2024, UTC.

constexpr int noMode = -1;
constexpr long long noSize = -1;

/// A line that names an item.
struct ListingRow {
    const char* why;
    const char* line; ///< Without line end.
    const char* name; ///< The bytes of the name.
    int type;
    int mode;
    long long size;
    const char* date; ///< ISO, UTC; null for none.
    const char* owner = nullptr;
    const char* group = nullptr;
    const char* link = nullptr;
};

/// A line that names none.
struct IgnoredRow {
    const char* why;
    const char* line;
    bool isRemark = false; ///< It is known not to be an item.
};

std::span<const ListingRow> unixRows();
std::span<const ListingRow> dosRows();
std::span<const IgnoredRow> ignoredRows();
