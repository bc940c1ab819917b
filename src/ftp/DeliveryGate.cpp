#include "DeliveryGate.h"

#include <QThreadStorage>

DeliveryGate& DeliveryGate::ofThisThread()
{
    static auto& gates = *new QThreadStorage<DeliveryGate*>; // Also for what ends with the process.
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
