#pragma once

#include <chrono>

/// Makes the wall clock of this process differ from the machine's by so much, from now on and for all threads. Clocks
/// that never jump are as they are. Works in programs that ShiftedClock.cpp is linked into.
void shiftWallClock(std::chrono::seconds shift);
