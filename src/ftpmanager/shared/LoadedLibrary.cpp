#include "RunningOperation.h"

namespace {

/// Runs when the library is loaded. Later may be too late: other people's programs may call exit() in one thread while
/// another makes its first manager, and what is made then would be put away at once, while that one uses it.
[[gnu::constructor]] void prepare()
{
    quillbox::RunningOperation::makeNeeds();
}

} // namespace
