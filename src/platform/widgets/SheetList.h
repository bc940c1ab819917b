#pragma once

#include <QString>

#include <functional>

/// Lines below the text of a sheet, however many: each is made when it is looked at.
struct SheetList {
    QString name = {}; ///< For those who cannot see what it is.
    int count = 0;
    std::function<QString(int row)> line = {};
};
