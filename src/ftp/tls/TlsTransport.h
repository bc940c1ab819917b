#pragma once

#include <QtGlobal>

/// What carries the encrypted bytes of a TlsChannel.
class TlsTransport {
public:
    static constexpr qint64 nothingYet = -1;

    virtual ~TlsTransport() = default;

    /// Takes up to @p size received bytes into @p bytes; answers how many, 0 when the connection has ended or failed,
    /// nothingYet when none have come and the call would wait.
    virtual qint64 receive(char* bytes, qint64 size) = 0;
    /// Takes all @p size bytes, to be sent as soon as the connection lets them. False when it is of no use any more.
    virtual bool send(const char* bytes, qint64 size) = 0;
};
