#include "FTPCommand.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace {

TEST(FTPCommandTest, IsSentAsVerbAndArgument)
{
    EXPECT_EQ((FTPCommand{ FTPVerb::Stor, " a b " }.line()), "STOR  a b ");
    EXPECT_EQ((FTPCommand{ FTPVerb::Pwd, {} }.line()), "PWD");
    EXPECT_EQ((FTPCommand{ FTPVerb::Pass, {} }.line()), "PASS ");
}

TEST(FTPCommandTest, ThePasswordIsNotLogged)
{
    EXPECT_EQ((FTPCommand{ FTPVerb::Pass, "secret" }.loggedLine()), "PASS ****");
    EXPECT_EQ((FTPCommand{ FTPVerb::User, "anna" }.loggedLine()), "USER anna");
}

TEST(FTPCommandTest, UnprintableBytesAreLoggedEscapedAndLongTextsCut)
{
    EXPECT_EQ(escapedForLog("a\x1b[31m\xc3\\"), "a\\x1b[31m\\xc3\\x5c");
    EXPECT_LT(escapedForLog(QByteArray(10000, 'a')).size(), 500);
}

} // namespace
