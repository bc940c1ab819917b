#include "PermissionText.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(PermissionTextTest, ShowsTypeAndPermissionsAndABlank)
{
    checkRows<QString(int, std::optional<int>)>(
        {
            { "folder", 4, 493, u"drwxr-xr-x "_s },
            { "plain file", 8, 0644, u"-rw-r--r-- "_s },
            { "link", 10, 0777, u"lrwxrwxrwx "_s },
            { "pipe", 1, 0, u"p--------- "_s },
            { "character device", 2, 0, u"c--------- "_s },
            { "block device", 6, 0, u"b--------- "_s },
            { "socket", 12, 0, u"s--------- "_s },
            { "no type", 0, 0, u"?--------- "_s },
            { "unknown type", 14, 0111, u"?--x--x--x "_s },
            { "set user id", 8, 04755, u"-rwsr-xr-x "_s },
            { "set user id, not executable", 8, 04644, u"-rwSr--r-- "_s },
            { "set group id", 8, 02755, u"-rwxr-sr-x "_s },
            { "set group id, not executable", 8, 02644, u"-rw-r-Sr-- "_s },
            { "sticky", 4, 01777, u"drwxrwxrwt "_s },
            { "sticky, not executable", 4, 01776, u"drwxrwxrwT "_s },
            { "type bits in the mode", 8, 0100644, u"-rw-r--r-- "_s },
            { "no mode", 4, std::nullopt, u"???????????"_s },
        },
        permissionText);
}

} // namespace
