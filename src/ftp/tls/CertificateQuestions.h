#pragma once

#include "CertificateTrust.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <list>
#include <vector>

/// The open questions about certificates on one thread: each is asked once, however many transfers wait for the answer.
class CertificateQuestions final : public QObject {
    Q_OBJECT

public:
    /// Has @p trust judge, unless it is doing so, and calls @p whenAnswered from the loop, unless @p context has been
    /// destroyed by then.
    void ask(CertificateTrust& trust, const CertificateQuestion& question, QObject* context,
             std::function<void(bool isTrusted)> whenAnswered);

private:
    struct Waiter {
        QPointer<QObject> context;
        std::function<void(bool)> whenAnswered;
    };
    struct Open {
        quint64 number = 0;
        const CertificateTrust* trust = nullptr;
        QString host;
        quint16 port = 0;
        QByteArray fingerprint;
        std::vector<Waiter> waiters;
    };

    void answered(quint64 number, bool isTrusted);

    std::list<Open> m_open;
    quint64 m_lastNumber = 0;
};
