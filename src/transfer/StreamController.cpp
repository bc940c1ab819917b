#include "StreamController.h"

#include "NetworkManager.h"
#include "RunLoop.h"

#include <utility>

using namespace Qt::StringLiterals;

template <typename Stream>
bool StreamController<Stream>::startStream(std::unique_ptr<Stream> stream, const QString& username,
                                           const QString& password)
{
    m_networkStream = std::move(stream);
    ++m_run;
    const FTPEncryption encryption = m_encryptionSource ? m_encryptionSource() : FTPEncryption::None;
    if (m_networkStream == nullptr || !m_networkStream->setEncryption(encryption)) {
        stopWithStatus(u"Can not create network connection."_s);
        return false;
    }
    m_networkStream->setAsksNobody(m_asksNobody);
    if (!authenticate(username, password)) {
        return false;
    }
    m_networkStream->setDelegate(this);
    m_ourRunLoop = &RunLoop::current();
    m_networkStream->open();
    return true;
}

template <typename Stream> bool StreamController<Stream>::authenticate(const QString& username, const QString& password)
{
    // Without both of them the login is anonymous.
    if (username.isEmpty() || password.isEmpty()) {
        return true;
    }
    if (!m_networkStream->setUserName(username)) {
        stopWithStatus(u"Could not send username."_s);
        return false;
    }
    if (!m_networkStream->setPassword(password)) {
        stopWithStatus(u"Could not send password."_s);
        return false;
    }
    return true;
}

template <typename Stream> void StreamController<Stream>::didStart(const QString& status)
{
    NetworkManager::sharedInstance().didStartNetworkOperation();
    reportStatus(status);
}

template <typename Stream> void StreamController<Stream>::closeStream()
{
    if (m_networkStream != nullptr) {
        m_networkStream->setDelegate(nullptr);
        m_networkStream->close();
        m_lastReply = m_networkStream->lastReply();
        m_security = m_networkStream->security();
        m_peerAddress = m_networkStream->peerAddress();
        m_lastError = m_networkStream->error();
        m_networkStream.reset();
        ++m_run;
    }
}

template <typename Stream> void StreamController<Stream>::didStop(const QString& status)
{
    const Watch watch(*this);
    reportStatus(status);
    // A controller that is destroyed meanwhile has counted this stop with its own.
    if (watch.isAlive()) {
        NetworkManager::sharedInstance().didStopNetworkOperation();
    }
}

template <typename Stream> QString StreamController<Stream>::errorStatus(const QString& refusal) const
{
    return m_networkStream->error().domain == FTPStreamError::Domain::FTP ? refusal : u"Stream open error"_s;
}

template <typename Stream> void StreamController<Stream>::handleEvent(FTPStream& stream, FTPStreamEvent event)
{
    if (m_networkStream.get() == &stream) {
        handleStreamEvent(event);
    }
}

template class StreamController<FTPReadStream>;
template class StreamController<FTPWriteStream>;
