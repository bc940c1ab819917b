#include "ConnectionPool.h"

ConnectionPool& ConnectionPool::ofThisThread()
{
    static ConnectionPool pool;
    return pool;
}

void ConnectionPool::setHeld(bool /*held*/) { }
