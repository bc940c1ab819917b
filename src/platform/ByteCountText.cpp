#include "ByteCountText.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Unit {
    const char16_t* name;
    /// What one step of the last decimal place shown is worth, in bytes.
    quint64 step;
    int decimals;
};

constexpr quint64 kilo = 1000;
constexpr std::array units{
    Unit{ u"KB", kilo, 0 },
    Unit{ u"MB", kilo* kilo / 10, 1 },
    Unit{ u"GB", kilo* kilo* kilo / 100, 2 },
    Unit{ u"TB", kilo* kilo* kilo* kilo / 100, 2 },
    Unit{ u"PB", kilo* kilo* kilo* kilo* kilo / 100, 2 },
    Unit{ u"EB", kilo* kilo* kilo* kilo* kilo* kilo / 100, 2 },
};

/// @p value in steps, ties to the even number.
quint64 roundedSteps(quint64 value, quint64 step)
{
    const quint64 whole = value / step;
    const quint64 twiceRest = (value % step) * 2;
    const bool up = twiceRest > step || (twiceRest == step && whole % 2 == 1);
    return up ? whole + 1 : whole;
}

quint64 powerOfTen(int exponent)
{
    quint64 power = 1;
    for (int i = 0; i < exponent; ++i) {
        power *= 10;
    }
    return power;
}

} // namespace

QString byteCountText(qint64 bytes, const QLocale& locale)
{
    const quint64 magnitude = bytes < 0 ? 0 - static_cast<quint64>(bytes) : static_cast<quint64>(bytes);
    const double sign = bytes < 0 ? -1 : 1;
    if (magnitude == 0) {
        return u"Zero KB"_s;
    }
    if (magnitude < kilo) {
        return locale.toString(bytes) + (magnitude == 1 ? u" byte"_s : u" bytes"_s);
    }
    for (const Unit& unit : units) {
        quint64 steps = roundedSteps(magnitude, unit.step);
        int decimals = unit.decimals;
        // What rounds to a thousand is shown in the next unit.
        if (steps >= kilo * powerOfTen(decimals)) {
            continue;
        }
        const double number = sign * static_cast<double>(steps) / static_cast<double>(powerOfTen(decimals));
        while (decimals > 0 && steps % 10 == 0) {
            steps /= 10;
            --decimals;
        }
        return locale.toString(number, 'f', decimals) + u' ' + QString::fromUtf16(unit.name);
    }
    Q_UNREACHABLE();
}
