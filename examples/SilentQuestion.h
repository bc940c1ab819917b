#pragma once

#include <QByteArray>
#include <QString>

/// Asks the person at the terminal, without showing what is typed. Signals that end or stop the program find the
/// terminal as it was; one that goes on asks again.
/// @return the line without its end; null without a terminal, or when the person has not answered
QByteArray askSilently(const QString& question);
