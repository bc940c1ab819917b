#pragma once

#include <functional>

/// How many descriptors this process has open.
int openDescriptors();

/// Waits until @p condition holds for that number; false when it does not.
bool waitForDescriptors(const std::function<bool(int)>& condition);
