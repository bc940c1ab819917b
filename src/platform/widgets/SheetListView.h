#pragma once

#include "SheetList.h"

#include <QListView>

/// Shows a SheetList: a few lines as they stand, more of them in a frame where they are scrolled. A line that is too
/// long loses its middle, and has a tool tip.
class SheetListView final : public QListView {
    Q_OBJECT

public:
    /// At most @p mostHeight high, as far as that has room for some lines.
    SheetListView(const SheetList& list, int mostHeight);

    /// As much as its first lines need.
    int widthOfLines() const;

    void keyboardSearch(const QString& /*search*/) override { } ///< It would have all lines made.
};
