#include "FTPEngine.h"

#include "CertificateQuestions.h"
#include "ConnectionPool.h"
#include "DeliveryGate.h"
#include "FTPLog.h"
#include "ServerTraits.h"
#include "SystemCertificates.h"

#include <QCalendar>
#include <QDateTime>
#include <QSocketNotifier>
#include <QTcpSocket>
#include <QTimeZone>

#include <openssl/crypto.h>

FTPEngine::FTPEngine(const FTPTimeouts& timeouts)
    : m_gate(DeliveryGate::ofThisThread())
    , m_timeouts(timeouts)
    , m_servers(std::make_unique<ServerMemory>())
    , m_pool(std::make_unique<ConnectionPool>(m_gate, m_timeouts))
    , m_certificateQuestions(std::make_unique<CertificateQuestions>())
{
}

FTPEngine::~FTPEngine() = default;

void FTPEngine::prepareForTheEnd()
{
    QTcpSocket().setSocketDescriptor(-1); // Makes what sockets need.
    const QSocketNotifier notifier(QSocketNotifier::Read); // Makes the registry of types.
    static_cast<void>(ftpLog()); // Makes the registry of categories.
    static_cast<void>(QDateTime::currentDateTime().timeZone()); // For the dates of listings; and for these, too:
    static_cast<void>(QCalendar());
    SystemCertificates::prepareForTheEnd();
}

void FTPEngine::leaveThread()
{
    OPENSSL_thread_stop();
}

void FTPEngine::setAddress(const QString& host, quint16 port, const QHostAddress& address)
{
    ServerTraits& traits = m_servers->of({ host, port, {}, {} });
    traits.address = address;
    traits.hasFixedAddress = true;
}
