#include "LocaleScope.h"
#include "Metronome.h"
#include "NumberText.h"
#include "ViewControllerTest.h"

#include <QElapsedTimer>

#include <chrono>

using namespace std::chrono_literals;

namespace {

/// The window shows half of a transfer, from which every start begins afresh.
class ViewControllerProgressTest : public ViewControllerTest {
protected:
    ViewControllerProgressTest() { showHalf(); }

    const QString nothingInTheMainWindow = u"0, 50, "_s; ///< The other bar waits for a manual transfer.
};

TEST_F(ViewControllerProgressTest, AFileFromTheQueueStartsFromNothing)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });

    tick();
    tick();

    ASSERT_TRUE(m_controller->pc().isSending());
    EXPECT_EQ(progress(), nothingInTheMainWindow);
}

TEST_F(ViewControllerProgressTest, WaitingFilesChangeNothingBeforeTheyStart)
{
    unset(u"Address"_s);
    m_controller->uploadFiles({ makeFile(u"a"_s) });

    tick();
    tick();

    EXPECT_EQ(progress(), half);
    answerSheet();
}

TEST_F(ViewControllerProgressTest, AListingOfTheDestinationStartsFromNothing)
{
    m_controller->listFTPDestination();
    tick();

    EXPECT_EQ(progress(), nothingInTheMainWindow);
}

TEST_F(ViewControllerProgressTest, AListingThatCannotStartChangesNothing)
{
    unset(u"Address"_s);

    m_controller->listFTPDestination();
    tick();

    EXPECT_EQ(progress(), half);
}

TEST_F(ViewControllerProgressTest, TheEndOfAnUploadLeavesNothingAlsoWhileADownloadKeepsItFromListing)
{
    m_controller->windows().manualTransfers().startStopDownload();
    showHalf();

    m_controller->uploadDone();
    tick();

    ASSERT_EQ(count(Kind::Listing), 0);
    EXPECT_EQ(progress(), nothingInTheMainWindow);
}

TEST_F(ViewControllerProgressTest, NumbersThatMoveAreShownSeveralTimesASecondAndNoMore)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    upload().sendOpenCompleted();
    const Metronome severalTimesASecond(250ms);
    QElapsedTimer time;
    time.start();
    int step = 0;
    int shown = 0;
    QString last = text("bytesFormattedTextField");

    EXPECT_TRUE(waitFor([&] {
        if (text("bytesFormattedTextField") != last) {
            last = text("bytesFormattedTextField");
            EXPECT_EQ(last, stringForFileSize(static_cast<quint64>(step % 1000)));
            EXPECT_EQ(bar("percentProgressIndicator").value(), step % 100);
            ++shown;
        }
        ++step;
        m_controller->bytesDone(static_cast<float>(step % 1000));
        m_controller->percentDone(static_cast<float>(step % 100));
        return severalTimesASecond.beats() == 4;
    }));

    EXPECT_GE(shown, 4);
    EXPECT_GE(time.elapsed(), (shown - 1) * 80); // The first one waits for nothing.
}

TEST_F(ViewControllerProgressTest, TheLastNumberOfAPauseIsShown)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    upload().sendOpenCompleted();
    m_controller->bytesDone(1);
    tick();

    m_controller->bytesDone(2);

    EXPECT_TRUE(waitFor([this] { return text("bytesFormattedTextField") == stringForFileSize(2); }));
}

TEST_F(ViewControllerProgressTest, SpeedAndTimeLeftStandBesideTheBytesWhileOneFileMovesAlone)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    upload().sendOpenCompleted();
    qint64 step = 0;
    const auto textAfterNextStep = [this, &step] {
        m_controller->percentDone(10);
        m_controller->bytesDone(static_cast<float>(++step * 1000));
        return text("speedTextField") + text("timeLeftTextField");
    };
    const auto speedIsTold
        = [&] { return textAfterNextStep().contains(u"/s · "_s) && text("timeLeftTextField").endsWith(u" left"_s); };
    const auto nothingIsTold = [&] { return textAfterNextStep().isEmpty(); };
    EXPECT_TRUE(waitFor(speedIsTold));
    EXPECT_TRUE(bar("percentProgressIndicator").toolTip().contains(u"/s, "_s));

    m_controller->windows()
        .manualTransfers()
        .startStopDownload(); // The numbers are by turns the one's and the other's.
    EXPECT_TRUE(waitFor(nothingIsTold));
    m_controller->windows().manualTransfers().startStopDownload();
    EXPECT_TRUE(waitFor(speedIsTold));
    m_controller->stopButtonAction();
    EXPECT_TRUE(waitFor(nothingIsTold));
}

TEST_F(ViewControllerProgressTest, TheSizeOfTheFileStandsInALabelOfItsOwn)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    upload().sendOpenCompleted();
    tick();
    EXPECT_EQ(text("totalBytesTextField"), u""_s); // As long as there is no number before it.

    m_controller->percentDone(50);
    m_controller->bytesDone(2);
    tick();

    const auto size = static_cast<quint64>(m_controller->pc().fileSize());
    EXPECT_EQ(text("bytesFormattedTextField"), stringForFileSize(2));
    EXPECT_EQ(text("totalBytesTextField"), u" of "_s + stringForFileSize(size));
    EXPECT_EQ(text("percentTextField"), u" · 50 %"_s);
    finishUpload();
    tick();
    EXPECT_EQ(text("totalBytesTextField"), u""_s);
}

TEST_F(ViewControllerProgressTest, TheDigitsOfItsFiguresAreThoseOfTheLocale)
{
    const LocaleScope locale(QLocale(QLocale::Arabic, QLocale::Egypt));
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s), makeFile(u"c"_s) });
    tick();
    upload().sendOpenCompleted();

    m_controller->percentDone(15);
    m_controller->bytesDone(2);
    tick();

    EXPECT_EQ(text("waitingTextField"), u"٢ waiting"_s);
    EXPECT_EQ(text("percentTextField"), u" · ١٥ %"_s);
}

} // namespace
