#include "KnownTrust.h"

#include "FTPLocation.h"
#include "TrustedCertificates.h"
#include "VisibleText.h"

using namespace Qt::StringLiterals;

void KnownTrust::judge(const CertificateQuestion& question, std::function<void(bool)> answer)
{
    const QByteArray& shown = question.certificate.fingerprint;
    // Nothing is known as nothing is shown where there is no certificate.
    answer(!shown.isEmpty() && m_store.fingerprint(question.host, question.port) == shown);
}

bool isAnyTrusted(const TrustedCertificates& store, const QString& location)
{
    const std::optional<FTPLocation> server = FTPLocation::fromText(location);
    return server && !store.fingerprint(server->host, server->port).isEmpty();
}

QString untrustedText(const TrustedCertificates& store, const QString& location)
{
    if (isAnyTrusted(store, location)) {
        return u"the server has shown another certificate than the one that is trusted"_s;
    }
    if (store.isDamaged()) {
        return u"the file “%1”, which says whose certificates are trusted, is damaged"_s.arg(
            visibleText(store.filePath()));
    }
    return u"the server’s certificate is not trusted"_s;
}
