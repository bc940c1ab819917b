#pragma once

#include <functional>
#include <sys/resource.h>

/// How many descriptors this process has open.
int openDescriptors();

/// Waits until @p condition holds for that number; false when it does not.
bool waitForDescriptors(const std::function<bool(int)>& condition);

/// No further descriptor can be opened while this lives.
class NoDescriptorLeft {
public:
    NoDescriptorLeft();
    NoDescriptorLeft(const NoDescriptorLeft&) = delete;
    NoDescriptorLeft& operator=(const NoDescriptorLeft&) = delete;
    ~NoDescriptorLeft();

private:
    rlimit m_before{};
};
