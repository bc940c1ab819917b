#pragma once

#include "ConnectionPool.h"
#include "EngineStreamFactory.h"

#include <chrono>

/// The usual time limits, but for that of a farewell: to a server that counts out at once who has left.
inline FTPTimeouts usualTimeouts()
{
    FTPTimeouts timeouts;
    timeouts.farewell = std::chrono::milliseconds(1);
    return timeouts;
}

/// Time limits that a test of silence can wait for.
inline FTPTimeouts shortTimeouts()
{
    using namespace std::chrono_literals;
    FTPTimeouts timeouts = usualTimeouts();
    timeouts.connect = 150ms;
    timeouts.reply = 150ms;
    timeouts.stalledData = 150ms;
    timeouts.confirmation = 150ms;
    timeouts.reason = 300ms;
    timeouts.acceptance = 50ms;
    return timeouts;
}

/// The engine's streams, with time limits that hold on whatever thread they are made.
class HastyStreams final : public FTPStreamFactory {
public:
    explicit HastyStreams(const FTPTimeouts& timeouts)
        : m_timeouts(timeouts)
    {
    }

    std::unique_ptr<FTPReadStream> createListingStream(const QString& location) override
    {
        return hastened().createListingStream(location);
    }
    std::unique_ptr<FTPReadStream> createDownloadStream(const QString& location) override
    {
        return hastened().createDownloadStream(location);
    }
    std::unique_ptr<FTPWriteStream> createUploadStream(const QString& location, qint64 length) override
    {
        return hastened().createUploadStream(location, length);
    }
    std::unique_ptr<FTPWriteStream> createFolderStream(const QString& location) override
    {
        return hastened().createFolderStream(location);
    }

private:
    EngineStreamFactory& hastened()
    {
        ConnectionPool::ofThisThread().timeouts() = m_timeouts;
        return m_engine;
    }

    FTPTimeouts m_timeouts;
    EngineStreamFactory m_engine;
};
