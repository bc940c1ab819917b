#include "OpenDescriptors.h"

#include "WaitFor.h"

#include <QDir>

#include <unistd.h>

using namespace Qt::StringLiterals;

int openDescriptors()
{
    const QDir descriptors(u"/proc/self/fd"_s);
    return static_cast<int>(descriptors.entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size());
}

bool waitForDescriptors(const std::function<bool(int)>& condition)
{
    return waitFor([&condition] { return condition(openDescriptors()); });
}

NoDescriptorLeft::NoDescriptorLeft()
{
    ::getrlimit(RLIMIT_NOFILE, &m_before);
    const int next = ::dup(0);
    ::close(next);
    const rlimit full{ static_cast<rlim_t>(next), m_before.rlim_max };
    ::setrlimit(RLIMIT_NOFILE, &full);
}

NoDescriptorLeft::~NoDescriptorLeft()
{
    ::setrlimit(RLIMIT_NOFILE, &m_before);
}
