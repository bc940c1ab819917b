#pragma once

#include <QString>

/// Why @p address, as somebody has typed it, names no server: a sentence for that person.
QString addressAdvice(const QString& address);
