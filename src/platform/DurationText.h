#pragma once

#include <QString>

#include <chrono>

/// A length of time in one or two units: "45 ms", "0.4 s", "12 s", "3 min 5 s", "2 h 10 min". What is shorter than ten
/// seconds has a decimal place unless that is 0. What is not shown is cut off, not rounded. A negative one counts as
/// none at all. The digits are those of the locale.
QString durationText(std::chrono::milliseconds duration);
