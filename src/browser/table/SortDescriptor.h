#pragma once

#include <QString>

/// By which column a list is sorted.
struct SortDescriptor {
    QString key; ///< The column's title.
    bool ascending = true;

    friend bool operator==(const SortDescriptor&, const SortDescriptor&) = default;
};
