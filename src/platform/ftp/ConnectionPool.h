#pragma once

/// The control connections of one thread.
class ConnectionPool {
public:
    static ConnectionPool& ofThisThread();
    void setHeld(bool held);
};
