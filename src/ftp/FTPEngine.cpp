#include "FTPEngine.h"

#include "CertificateQuestions.h"
#include "ConnectionPool.h"
#include "DeliveryGate.h"
#include "ServerTraits.h"

FTPEngine::FTPEngine(const FTPTimeouts& timeouts)
    : m_gate(DeliveryGate::ofThisThread())
    , m_timeouts(timeouts)
    , m_servers(std::make_unique<ServerMemory>())
    , m_pool(std::make_unique<ConnectionPool>(m_gate, m_timeouts))
    , m_certificateQuestions(std::make_unique<CertificateQuestions>())
{
}

FTPEngine::~FTPEngine() = default;

void FTPEngine::setAddress(const QString& host, quint16 port, const QHostAddress& address)
{
    ServerTraits& traits = m_servers->of({ host, port, {}, {} });
    traits.address = address;
    traits.hasFixedAddress = true;
}
