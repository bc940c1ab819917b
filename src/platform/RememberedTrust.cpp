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
    if (!known.isEmpty() && known != shown.fingerprint) {
        answer(false);
        if (!m_toldOf.contains(shown)) {
            m_toldOf.insert(shown);
            m_prompt.certificateHasChanged(question, known);
        }
    } else if (known == shown.fingerprint || m_accepted.contains(shown)) {
        answer(true);
    } else if (m_refused.contains(shown)) {
        answer(false);
    } else {
        m_prompt.askToTrust(question, [self = m_anchor.ref(this), shown, answer = std::move(answer)](bool isTrusted) {
            if (self.get() != nullptr) {
                self.get()->answered(shown, isTrusted);
            }
            answer(isTrusted);
        });
    }
}

void RememberedTrust::forgetRefusals()
{
    m_refused.clear();
    m_toldOf.clear();
}

void RememberedTrust::answered(const Shown& shown, bool isTrusted)
{
    if (!isTrusted) {
        m_refused.insert(shown);
    } else if (!m_store.trust(shown.host, shown.port, shown.fingerprint)) {
        m_accepted.insert(shown);
    }
}
