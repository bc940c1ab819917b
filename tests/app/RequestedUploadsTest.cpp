#include "RequestedUploads.h"

#include "AppDelegate.h"
#include "FakeWindowTest.h"
#include "WaitFor.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class RequestedUploadsTest : public FakeWindowTest {
protected:
    AppDelegate m_delegate{ *m_controller };
    RequestedUploads m_uploads{ *m_controller, m_delegate };
};

TEST_F(RequestedUploadsTest, AttendedFilesBringTheWindowToTheFrontAndUnattendedOnesDoNot)
{
    m_delegate.hide();

    EXPECT_NE(m_uploads.begin({ u"/a"_s }, true), nullptr);
    EXPECT_FALSE(m_controller->window().isVisible());
    EXPECT_NE(m_uploads.begin({ u"/b"_s }, false), nullptr);
    EXPECT_TRUE(m_controller->window().isVisible());
}

TEST_F(RequestedUploadsTest, NobodyIsAskedAboutUnattendedFiles)
{
    for (const bool areUnattended : { true, false }) {
        const auto watch = m_uploads.begin({ makeFile(u"a"_s) }, areUnattended);
        tick();
        EXPECT_EQ(upload().asksNobody, areUnattended);
        upload().sendOtherError();
    }
}

TEST_F(RequestedUploadsTest, EachWatchFollowsItsOwnFiles)
{
    const auto first = m_uploads.begin({ u"/a"_s }, true);
    const auto second = m_uploads.begin({ u"/b"_s }, true);
    QSignalSpy endedBefore(first.get(), &RequestWatch::ended);
    QSignalSpy ended(second.get(), &RequestWatch::ended);
    tick();
    tick();

    ASSERT_TRUE(waitFor([&] { return first->isOver() && second->isOver(); }));
    ASSERT_EQ(endedBefore.size(), 1);
    EXPECT_EQ(endedBefore[0][0].value<QList<FileEnd>>(), (QList<FileEnd>{ { u"/a"_s, u"Not found"_s } }));
    ASSERT_EQ(ended.size(), 1);
    EXPECT_EQ(ended[0][0].value<QList<FileEnd>>(), (QList<FileEnd>{ { u"/b"_s, u"Not found"_s } }));
}

TEST_F(RequestedUploadsTest, NothingIsFollowedOnceTheProgramEnds)
{
    m_delegate.quit();

    EXPECT_EQ(m_uploads.begin({ u"/a"_s }, true), nullptr);
}

} // namespace
