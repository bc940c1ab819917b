#include "UploadReport.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

TEST(UploadReportTest, EachFileHasOneLineAndTheRestFollowsInItsOrder)
{
    UploadReport report({ u"/a"_s, u"/b\t"_s, u"/a"_s, u"/v/.//./c"_s, u"/d"_s });
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();

    report.ended({ { u"/a"_s, u"Confirmed"_s } });
    report.ended({ { u"/v/c"_s, u"Not found"_s } });
    report.corrected({ { u"/a"_s, u"Confirmed, but 3 bytes listed"_s } });
    report.problem(u"Gone."_s);
    report.rest(u"Not known"_s);

    EXPECT_TRUE(report.finish(10s));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "/a\tConfirmed\n/v/c\tNot found\n/b␉\tNot known\n/a\tNot known\n/d\tNot known\n");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "/a\tConfirmed, but 3 bytes listed\nQuillbox: Gone.\n");
}

TEST(UploadReportTest, AnAlertIsOneLine)
{
    EXPECT_EQ(alertLine(u"Title"_s, u"One.\n\nTwo."_s), u"Title. One. Two."_s);
}

} // namespace
