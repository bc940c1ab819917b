#pragma once

#include <QString>

/// A line of facts below the text of a sheet.
struct SheetDetail {
    QString name; ///< Such as "Issued to"; empty where the value stands for itself.
    QString value; ///< Shortened when it is long, unless it is a code.
    bool isCode = false; ///< To be compared or copied letter by letter; it may have several lines.

    bool operator==(const SheetDetail&) const = default;
};
