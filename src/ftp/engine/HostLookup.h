#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>

/// The addresses of @p host, a name, in the system's order; none when there is no such host. Blocks as long as the
/// system's resolver does. Safe on any thread.
QList<QHostAddress> addressesOfHost(const QString& host);
