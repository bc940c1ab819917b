#include "DescriptorShortage.h"

#include "Descriptor.h"

#include <fcntl.h>

namespace {

bool isDescriptorLeft()
{
    return Descriptor(open("/", O_PATH | O_CLOEXEC)).get() >= 0;
}

} // namespace

bool DescriptorShortage::isToBeWaitedOut()
{
    if (isDescriptorLeft()) {
        m_since.invalidate();
        return false;
    }
    if (!m_since.isValid()) {
        m_since.start();
    }
    if (m_since.hasExpired(m_limit.count())) {
        m_since.invalidate();
        return false;
    }
    return true;
}
