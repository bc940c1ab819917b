#include "RealServer.h"

using namespace Qt::StringLiterals;

std::vector<ServerMake> usualServerMakes()
{
    return { ServerMake::Vsftpd, ServerMake::Proftpd, ServerMake::Pyftpdlib };
}

QString nameOf(ServerMake make)
{
    switch (make) {
    case ServerMake::Vsftpd:
        return u"vsftpd"_s;
    case ServerMake::Proftpd:
        return u"proftpd"_s;
    case ServerMake::Pyftpdlib:
        return u"pyftpdlib"_s;
    case ServerMake::PureFtpd:
        return u"pure-ftpd"_s;
    case ServerMake::Inetutils:
        return u"inetutils"_s;
    case ServerMake::Netkit:
        return u"netkit"_s;
    case ServerMake::Twisted:
        return u"twisted"_s;
    }
    Q_UNREACHABLE();
}

void PrintTo(ServerMake make, std::ostream* out)
{
    *out << nameOf(make).toStdString();
}

RealServer::RealServer(ServerMake make)
    : m_process(u"real_server.py"_s, { nameOf(make), m_root.path() })
{
}

RealServer::RealServer(ServerMake make, const TestCertificate& certificate, const QString& version)
    : m_process(u"real_server.py"_s, QStringList{ nameOf(make), m_root.path() } + tlsArguments(certificate, version))
{
}

QStringList RealServer::tlsArguments(const TestCertificate& certificate, const QString& version) const
{
    const QString pem = m_pemFolder.filePath(u"certificate.pem"_s);
    certificate.writePem(pem);
    QStringList arguments{ u"--tls"_s, pem };
    if (!version.isEmpty()) {
        arguments.append(version);
    }
    return arguments;
}

QString RealServer::location(const QString& path) const
{
    return u"ftp://127.0.0.1:%1/%2"_s.arg(QString::number(port()), path);
}
