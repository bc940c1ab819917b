#include "PermissionText.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(PermissionTextTest, ShowsTypeAndPermissionsAndABlank)
{
    EXPECT_EQ(permissionText(4, 493), u"drwxr-xr-x "_s);
    EXPECT_EQ(permissionText(8, 0644), u"-rw-r--r-- "_s);
    EXPECT_EQ(permissionText(10, 0777), u"lrwxrwxrwx "_s);
    EXPECT_EQ(permissionText(1, 0), u"p--------- "_s);
    EXPECT_EQ(permissionText(2, 0), u"c--------- "_s);
    EXPECT_EQ(permissionText(6, 0), u"b--------- "_s);
    EXPECT_EQ(permissionText(12, 0), u"s--------- "_s);
    EXPECT_EQ(permissionText(0, 0), u"?--------- "_s);
    EXPECT_EQ(permissionText(14, 0111), u"?--x--x--x "_s);
}

TEST(PermissionTextTest, ShowsWhatIsSpecialInThePlaceOfExecuting)
{
    EXPECT_EQ(permissionText(8, 04755), u"-rwsr-xr-x "_s);
    EXPECT_EQ(permissionText(8, 04644), u"-rwSr--r-- "_s);
    EXPECT_EQ(permissionText(8, 02755), u"-rwxr-sr-x "_s);
    EXPECT_EQ(permissionText(8, 02644), u"-rw-r-Sr-- "_s);
    EXPECT_EQ(permissionText(4, 01777), u"drwxrwxrwt "_s);
    EXPECT_EQ(permissionText(4, 01776), u"drwxrwxrwT "_s);
}

TEST(PermissionTextTest, WithoutAModeAllIsUnknown)
{
    EXPECT_EQ(permissionText(4, std::nullopt), u"???????????"_s);
}

TEST(PermissionTextTest, TypeBitsInAModeDoNotCount)
{
    EXPECT_EQ(permissionText(8, 0100644), u"-rw-r--r-- "_s);
}

} // namespace
