#pragma once

#include "UserDefaults.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>
#include <utility>

/// The certificates that the user trusts although the system does not: one for each host and port, by its SHA-256
/// fingerprint, in a file that only its owner may read. Every read sees the file as it is; it is written atomically.
/// All calls belong to the main thread.
///
/// What is damaged in the file stays until somebody forgets the damage.
class TrustedCertificates {
public:
    /// Those of this program: trusted-certificates.json beside its settings.
    static TrustedCertificates& standard();

    explicit TrustedCertificates(const QString& filePath);

    const QString& filePath() const { return m_file.filePath(); }

    /// The 32 bytes of the fingerprint that is trusted at @p host, in any spelling of its letters, and @p port; empty
    /// when there is none.
    QByteArray fingerprint(const QString& host, quint16 port) const;

    /// Whether something in the file, or all of it, cannot be read, or it is a link that leads nowhere: then it may
    /// have held any server.
    bool isDamaged() const;
    /// Keeps the file, with ".bak" appended to its name, beside a new one that has what can be read. False when that
    /// could not be written.
    bool forgetDamage();

    /// Stores @p fingerprint, 32 bytes, in place of what was trusted there before. False when the file could not be
    /// written: then it is trusted as long as the program runs; or is damaged: then it is not.
    bool trust(const QString& host, quint16 port, const QByteArray& fingerprint);
    /// Forgets the certificate of that host and port, and leaves what is damaged. False when the file cannot be read at
    /// all, or could not be written.
    [[nodiscard]] bool forget(const QString& host, quint16 port);

    /// Those of UserDefaults.
    PrivateFile::Access takeOpenReport() { return m_file.takeOpenReport(); }
    void setOpenFileHandler(std::function<void(PrivateFile::Access)> handler)
    {
        m_file.setOpenFileHandler(std::move(handler));
    }
    void noteAccess() const { m_file.noteAccess(); }

    /// Removes what was left beside the file by programs that were killed while they wrote it.
    void removeUnfinishedStores() const { m_file.removeUnfinishedStores(); }

private:
    UserDefaults m_file;
    QHash<QString, QByteArray> m_unstored; ///< By host and port: what the file could not take.
};
