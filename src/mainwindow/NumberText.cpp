#include "NumberText.h"

#include "ByteCountText.h"

#include <cmath>

using namespace Qt::StringLiterals;

QString stringForFileSize(quint64 bytes)
{
    return byteCountText(static_cast<qint64>(bytes));
}

QString stringForNumber(double value, const QString& unit)
{
    const double fraction = std::fabs(value - std::trunc(value));
    const bool isNearlyWhole = fraction < 0.1 || fraction > 0.9;
    const QString number = isNearlyWhole ? QString::number(std::round(value), 'f', 0) : QString::number(value, 'f', 1);
    return u"%1 %2"_s.arg(number, unit);
}
