#pragma once

#include "FTPEncryption.h"

#include <QString>

/// Where transfers go: a folder of a server, with the login and its protection.
struct Destination {
    QString location = {}; ///< Of the folder, "/" at its end; null: there is none.
    QString username = {};
    QString password = {};
    FTPEncryption encryption = FTPEncryption::None;

    bool isNull() const { return location.isNull(); }
    friend bool operator==(const Destination&, const Destination&) = default;
};
