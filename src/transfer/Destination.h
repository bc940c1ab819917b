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
    /// Whether it leads to the same place by the same login, whatever the password.
    bool isSamePlace(const Destination& other) const
    {
        return location == other.location && username == other.username && encryption == other.encryption;
    }
    friend bool operator==(const Destination&, const Destination&) = default;
};
