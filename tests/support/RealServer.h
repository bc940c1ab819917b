#pragma once

#include "LineProcess.h"
#include "TestCertificate.h"

#include <QTemporaryDir>

#include <ostream>
#include <vector>

/// The makes of FTP servers that the tests run. The first three encrypt, and all but PureFtpd, Inetutils and Netkit run
/// for everybody; these take root.
enum class ServerMake { Vsftpd, Proftpd, Pyftpdlib, PureFtpd, Inetutils, Netkit, Twisted };

/// The ones that run for everybody and encrypt: the first three.
std::vector<ServerMake> usualServerMakes();
/// The name by which real_server.py knows @p make.
QString nameOf(ServerMake make);
void PrintTo(ServerMake make, std::ostream* out); // NOLINT(readability-identifier-naming): GoogleTest's name

/// A real FTP server on this machine, serving a new, empty folder for as long as this lives. Its login begins in that
/// folder and may do everything there.
class RealServer {
public:
    /// Starts a server and waits until it takes logins.
    explicit RealServer(ServerMake make);
    /// The same for a server that takes nothing unencrypted and shows @p certificate. @p version: "1.2" or "1.3", the
    /// only TLS that it speaks; empty: any.
    RealServer(ServerMake make, const TestCertificate& certificate, const QString& version);

    quint16 port() const { return m_process.port(); }
    QString userName() const { return m_process.value("user"); }
    /// The only one that the server accepts.
    QString password() const { return m_process.value("password"); }
    /// The text of a location: @p path, percent-escaped, is relative to root().
    QString location(const QString& path = {}) const;

    /// The local path of the served folder, without "/" at its end.
    QString root() const { return m_root.path(); }
    /// The local path of the item @p name in the served folder.
    QString path(const QString& name) const { return m_root.filePath(name); }

private:
    /// The arguments behind the folder; writes the certificate.
    QStringList tlsArguments(const TestCertificate& certificate, const QString& version) const;

    QTemporaryDir m_root;
    QTemporaryDir m_pemFolder;
    LineProcess m_process;
};
