#include "DestinationWatch.h"

#include "UserDefaults.h"

#include <chrono>

using namespace std::chrono_literals;

DestinationWatch::DestinationWatch(QObject& parent)
    : QObject(&parent)
{
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(1s);
    connect(&m_quiet, &QTimer::timeout, this, [this] {
        if (UserDefaults::standard().isReadable()) {
            emit settled();
        } else {
            m_quiet.start();
        }
    });
}
