#include "KnownTrust.h"

#include "TrustedCertificates.h"

void KnownTrust::judge(const CertificateQuestion& question, std::function<void(bool)> answer)
{
    answer(m_store.fingerprint(question.host.toLower(), question.port) == question.certificate.fingerprint);
}
