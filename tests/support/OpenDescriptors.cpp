#include "OpenDescriptors.h"

#include "WaitFor.h"

#include <QDir>

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
