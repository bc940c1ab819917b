#include "CertificateQuestions.h"

#include <algorithm>
#include <utility>

void CertificateQuestions::ask(CertificateTrust& trust, const CertificateQuestion& question, QObject* context,
                               std::function<void(bool)> whenAnswered)
{
    Waiter waiter{ context, std::move(whenAnswered) };
    const QByteArray& fingerprint = question.certificate.fingerprint;
    const auto open = std::find_if(m_open.begin(), m_open.end(), [&](const Open& each) {
        return each.trust == &trust && each.host == question.host && each.port == question.port
            && each.fingerprint == fingerprint;
    });
    if (open != m_open.end()) {
        open->waiters.push_back(std::move(waiter));
        return;
    }
    const quint64 number = ++m_lastNumber;
    m_open.push_back({ number, &trust, question.host, question.port, fingerprint, { std::move(waiter) } });
    trust.judge(question, [self = QPointer(this), number](bool isTrusted) {
        if (self != nullptr) {
            self->answered(number, isTrusted);
        }
    });
}

void CertificateQuestions::answered(quint64 number, bool isTrusted)
{
    const auto open
        = std::find_if(m_open.begin(), m_open.end(), [number](const Open& each) { return each.number == number; });
    if (open == m_open.end()) {
        return;
    }
    const std::vector<Waiter> waiters = std::move(open->waiters);
    m_open.erase(open);
    for (const Waiter& waiter : waiters) {
        // Through the loop: the answer may come from inside the question.
        QMetaObject::invokeMethod(
            this,
            [waiter, isTrusted] {
                if (waiter.context != nullptr) {
                    waiter.whenAnswered(isTrusted);
                }
            },
            Qt::QueuedConnection);
    }
}
