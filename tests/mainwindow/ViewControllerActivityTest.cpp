#include "TransferActivity.h"
#include "ViewControllerTest.h"

#include <utility>

namespace {

class ViewControllerActivityTest : public ViewControllerTest {
protected:
    ViewControllerActivityTest()
    {
        QObject::connect(m_controller.get(), &ViewController::activityChanged, m_controller.get(),
                         [this](const TransferActivity& activity) { m_reported.append(activity); });
    }

    /// What was reported since the last call.
    QList<TransferActivity> reported() { return std::exchange(m_reported, {}); }

private:
    QList<TransferActivity> m_reported;
};

TEST_F(ViewControllerActivityTest, ActivityIsReportedOnceEachTimeItChanges)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    EXPECT_EQ(reported(), (QList<TransferActivity>{ { .isMoving = true, .isWaiting = true, .progress = 0 } }));
    tick();
    m_controller->updateStatus(u"Sending"_s);
    tick();
    EXPECT_EQ(reported(), QList<TransferActivity>());

    finishUpload();
    tick();
    tick();
    EXPECT_EQ(reported(), (QList<TransferActivity>{ { .isMoving = true, .isWaiting = false, .progress = 0.5 } }));

    finishUpload();
    tick();
    EXPECT_EQ(reported(), QList<TransferActivity>{ {} });
}

TEST_F(ViewControllerActivityTest, TheProgressOfAQueueIsThatOfAllItsFiles)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    reported();

    m_controller->percentDone(50);
    tick();

    EXPECT_EQ(reported(), (QList<TransferActivity>{ { .isMoving = true, .isWaiting = true, .progress = 0.25 } }));
}

TEST_F(ViewControllerActivityTest, TheProgressOfADownloadIsItsOwn)
{
    m_controller->windows().manualTransfers().startStopDownload();
    m_controller->percentDone(50);

    tick();

    EXPECT_EQ(reported(), (QList<TransferActivity>{ { .isMoving = true, .isWaiting = false, .progress = 0.5 } }));
}

TEST_F(ViewControllerActivityTest, FilesThatHaveNowhereToGoDoNotCountAsWaiting)
{
    unset(u"Address"_s);
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    answerSheet();
    tick();
    tick();
    EXPECT_EQ(reported(), QList<TransferActivity>());

    set({ { u"Address"_s, u"host"_s } });
    tick();

    EXPECT_EQ(reported(), (QList<TransferActivity>{ { .isMoving = true, .isWaiting = true, .progress = 0 } }));
}

} // namespace
