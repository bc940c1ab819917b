#include "GradualRelease.h"

GradualRelease::GradualRelease()
{
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { releasePiece(); });
}

void GradualRelease::releasePiece()
{
    if (m_containers.front()()) {
        m_containers.pop_front();
    }
    if (m_containers.empty()) {
        m_timer.stop();
    }
}
