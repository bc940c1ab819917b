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
    const Server server{ question.host.toLower(), question.port };
    const QByteArray known = m_store.fingerprint(server.host, server.port);
    if (question.certificate.fingerprint.isEmpty()) {
        answer(false); // There is no certificate that anybody could trust.
        return;
    }
    if (known == question.certificate.fingerprint) {
        answer(true);
    } else if (!known.isEmpty()) {
        answer(false);
        warnOfChange(question, known);
    } else if (m_store.isDamaged()) {
        answer(false);
        warnOfDamage();
    } else if (m_refused.contains(server)) {
        answer(false);
    } else if (const auto open = m_open.find(server); open != m_open.end()) {
        open->push_back({ question, std::move(answer) });
    } else {
        m_open[server].push_back({ question, std::move(answer) });
        m_prompt.askToTrust(question, [self = m_anchor.ref(this), server](bool isTrusted) {
            if (self.get() != nullptr) {
                self.get()->answered(server, isTrusted);
            }
        });
    }
}

void RememberedTrust::warnOfChange(const CertificateQuestion& question, const QByteArray& known)
{
    const Server server{ question.host.toLower(), question.port };
    if (!m_warnedAbout.contains(server)) {
        m_warnedAbout.insert(server);
        m_prompt.certificateHasChanged(question, known);
    }
}

void RememberedTrust::warnOfDamage()
{
    if (std::exchange(m_isDamageReported, true)) {
        return;
    }
    m_isDamageShown = true;
    m_prompt.trustIsDamaged(m_store.filePath(), [self = m_anchor.ref(this)](bool isToForget) {
        if (self.get() != nullptr) {
            self.get()->m_isDamageShown = false;
            if (isToForget && !self.get()->m_store.forgetDamage()) {
                self.get()->m_prompt.damageCannotBeForgotten(self.get()->m_store.filePath());
            }
        }
    });
}

void RememberedTrust::forgetRefusals()
{
    m_refused.clear();
    m_warnedAbout.clear();
    m_isDamageReported = m_isDamageShown;
}

void RememberedTrust::answered(const Server& server, bool isTrusted)
{
    const std::vector<Waiting> waiting = m_open.take(server);
    const CertificateQuestion& asked = waiting.front().question;
    if (!isTrusted) {
        m_refused.insert(server);
    } else if (m_store.fingerprint(server.host, server.port).isEmpty()) { // Otherwise another copy was quicker.
        m_store.trust(server.host, server.port, asked.certificate.fingerprint);
    }
    for (const Waiting& each : waiting) {
        judge(each.question, each.answer);
    }
}
