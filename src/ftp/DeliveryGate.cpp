#include "DeliveryGate.h"

#include <QThreadStorage>

DeliveryGate& DeliveryGate::ofThisThread()
{
    static QThreadStorage<DeliveryGate*> gates;
    if (!gates.hasLocalData()) {
        gates.setLocalData(new DeliveryGate);
    }
    return *gates.localData();
}

void DeliveryGate::setClosed(bool closed)
{
    if (m_closed == closed) {
        return;
    }
    m_closed = closed;
    if (closed) {
        emit this->closed();
    } else {
        emit opened();
    }
}
