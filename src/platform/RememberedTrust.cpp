#include "RememberedTrust.h"

#include "TrustedCertificates.h"

#include <utility>

RememberedTrust::RememberedTrust(TrustedCertificates& store, CertificatePrompt& prompt)
    : m_store(store)
    , m_prompt(prompt)
{
}

void RememberedTrust::judge(const CertificateQuestion& question, std::function<void(bool)> answer)
{
    const Shown shown{ question.host.toLower(), question.port, question.certificate.fingerprint };
    const QByteArray known = m_store.fingerprint(shown.host, shown.port);
    if (known == shown.fingerprint) {
        answer(true);
    } else if (!known.isEmpty()) {
        answer(false);
        warnOfChange(question, known);
    } else if (m_refused.contains(shown)) {
        answer(false);
    } else {
        m_prompt.askToTrust(question,
                            [self = m_anchor.ref(this), question, answer = std::move(answer)](bool isTrusted) {
                                const bool counts = self.get() == nullptr || self.get()->answered(question, isTrusted);
                                answer(isTrusted && counts);
                            });
    }
}

void RememberedTrust::warnOfChange(const CertificateQuestion& question, const QByteArray& known)
{
    const Shown place{ question.host.toLower(), question.port, {} };
    if (!m_warnedAbout.contains(place)) {
        m_warnedAbout.insert(place);
        m_prompt.certificateHasChanged(question, known);
    }
}

void RememberedTrust::forgetRefusals()
{
    m_refused.clear();
    m_warnedAbout.clear();
}

/// False when the answer cannot count: another certificate has come to be trusted there since the question.
bool RememberedTrust::answered(const CertificateQuestion& question, bool isTrusted)
{
    const QByteArray& fingerprint = question.certificate.fingerprint;
    if (!isTrusted) {
        m_refused.insert({ question.host.toLower(), question.port, fingerprint });
        return true;
    }
    const QByteArray known = m_store.fingerprint(question.host, question.port);
    if (!known.isEmpty() && known != fingerprint) {
        warnOfChange(question, known);
        return false;
    }
    m_store.trust(question.host, question.port, fingerprint);
    return true;
}
