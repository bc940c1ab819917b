#pragma once

#include "FTPCommand.h"
#include "FTPEncryption.h"
#include "FTPLocation.h"
#include "FTPServerKey.h"

#include <QByteArray>
#include <QList>

#include <optional>

class CertificateTrust;

/// What one operation is to do, where, and by whom.
struct TransferRequest {
    /// A connection test ends with success where a listing would have its folder open, and sends QUIT. It may make the
    /// folder before.
    enum class Kind { Listing, Download, Upload, FolderCreation, ConnectionTest };

    Kind kind = Kind::Listing;
    std::optional<FTPLocation> location; ///< Empty: the text was none, which fails from the loop.
    QByteArray userName; ///< Empty: anonymous.
    QByteArray password;
    qint64 length = 0; ///< Of an upload: how many bytes will be written.
    bool createsFolder = false; ///< Of a connection test: makes the folder where it is missing.
    /// Of an upload: so many of the last levels of its folder are made where they are missing. Of the creation of a
    /// folder, which then may be there already: so many of its own, itself among them.
    int madeLevels = 0;
    bool fetchSize = false; ///< Of a download: ask for the size first.
    bool standsBack = false; ///< Leaves the only kept connection to others.
    FTPEncryption encryption = FTPEncryption::None;
    QList<QByteArray> trustedCertificates; ///< Fingerprints that need not be judged.
    CertificateTrust* certificateTrust = nullptr; ///< Judges other certificates that are not good; null: refused.

    /// Whether it can be put into commands.
    bool canBeSent() const;
    /// Whether it is about a folder rather than an item in one.
    bool isAboutFolder() const
    {
        return kind == Kind::Listing || kind == Kind::ConnectionTest
            || (kind == Kind::FolderCreation && madeLevels > 0);
    }
    bool movesData() const { return kind != Kind::FolderCreation && kind != Kind::ConnectionTest; }

    // Of a request with a location:
    FTPServerKey server() const;
    /// The folder that it happens in, or is made from.
    QByteArray folder() const;
    /// The command that it is for. A connection test has none.
    FTPCommand command() const;
};
