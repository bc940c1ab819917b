#pragma once

#include "PrivateFile.h"

#include <QString>

class UserDefaults;

/// What the user is told when something is wrong with a settings file.
struct SettingsAlert {
    QString title;
    QString text;

    /// The main settings are not readable.
    static SettingsAlert broken(const UserDefaults& settings);
    /// The settings of a drop icon's own are not readable, or are not there.
    static SettingsAlert iconBroken(const UserDefaults& settings);
    /// The settings in @p path, which the program was to use, are not its own ones in @p own.
    static SettingsAlert foreign(const QString& path, const QString& own);
    /// Others than the owner had, or have, @p access to the settings in @p path.
    static SettingsAlert open(const QString& path, PrivateFile::Access access);
    /// The same of the trusted certificates in @p path; null texts where it does no harm, as when others can read them.
    static SettingsAlert openTrust(const QString& path, PrivateFile::Access access);
};
