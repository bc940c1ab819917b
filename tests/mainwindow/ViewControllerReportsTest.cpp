#include "IconLabel.h"
#include "NumberText.h"
#include "ViewControllerTest.h"

#include <QImage>

namespace {

using ViewControllerReportsTest = ViewControllerTest;

const QString checkSettings
    = u"Check Settings: An error occurred.\n\nPlease check your preference settings for correct FTP server passsword, "
      "username and folder location."_s;

TEST_F(ViewControllerReportsTest, StatusTextsShowInBothWindowsWithTheNextTick)
{
    m_controller->updateStatus(u"Opened connection"_s);
    m_controller->updateListingStatus(u"Receiving"_s);
    tick();

    EXPECT_EQ(text("statusTextField"), u"Opened connection"_s);
    EXPECT_EQ(text("auxiliaryStatusTextField"), u"Opened connection"_s);
    EXPECT_EQ(text("listingStatusTextField"), u"Receiving"_s);
}

TEST_F(ViewControllerReportsTest, EachStatusHasWhatTheServerSaidToItsOwnStream)
{
    EXPECT_EQ(control<QLabel>("statusTextField").toolTip(), u""_s);
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    upload().reply = u"550 <b>No such\u202e folder</b>"_s;
    upload().sendRefusal(550);
    m_controller->listFTPDestination();
    latest(FakeFTPStream::Kind::Listing).reply = u"230 In. Or not."_s;

    tick();

    for (const char* field : { "statusTextField", "auxiliaryStatusTextField" }) {
        EXPECT_TRUE(control<QLabel>(field).toolTip().contains(
            u"The server said: 550 &lt;b&gt;No such⟨U+202E⟩ folder&lt;/b&gt;"_s))
            << field;
    }
    EXPECT_EQ(control<QLabel>("statusTextField").accessibleDescription(),
              u"Status. The server said: 550 <b>No such⟨U+202E⟩ folder</b>"_s);
    EXPECT_TRUE(control<QLabel>("listingStatusTextField").toolTip().contains(u"The server said: 230 In. Or not."_s));
    EXPECT_EQ(control<QLabel>("listingStatusTextField").accessibleDescription(),
              u"Listing status. The server said: 230 In. Or not."_s);
}

TEST_F(ViewControllerReportsTest, OfTwoTransfersAtOnceTheReplyIsToTheOneWhoseStatusShows)
{
    const auto shown = [this] {
        tick();
        return text("statusTextField") + u" / "_s + control<QLabel>("statusTextField").accessibleDescription();
    };
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    upload().reply = u"150 Send it"_s;
    m_controller->windows().manualTransfers().startStopDownload();
    FakeFTPStream& download = latest(Kind::Download);
    download.reply = u"150 Here it is"_s;

    upload().sendOpenCompleted();
    EXPECT_EQ(shown(), u"Opened connection / Status. The server said: 150 Send it"_s);
    download.sendOpenCompleted();
    EXPECT_EQ(shown(), u"Opened connection / Status. The server said: 150 Here it is"_s);
    upload().reply = u"552 Disk full"_s;
    upload().sendRefusal(552);
    EXPECT_EQ(shown(), u"FTP error 552; Directory may already exist? / Status. The server said: 552 Disk full"_s);
}

TEST_F(ViewControllerReportsTest, AStatusOfWhatNeverReachedAServerHasNoReply)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), u"/nonexistent"_s });
    tick();
    upload().reply = u"226 Got it"_s;
    finishUpload();
    tick(); // It begins with the one that is not there.

    tick();

    EXPECT_EQ(control<QLabel>("statusTextField").toolTip(), u""_s);
    EXPECT_EQ(control<QLabel>("statusTextField").accessibleDescription(), u"Status"_s);
}

TEST_F(ViewControllerReportsTest, ThePadlockTellsHowTheLastConnectionWasProtected)
{
    const auto words = [this] { return control<IconLabel>("connectionIcon").accessibleName(); };
    const auto picture = [this] { return control<IconLabel>("connectionIcon").icon().pixmap(32).toImage(); };
    QList<QImage> pictures{ picture() };
    EXPECT_EQ(words(), u"No connection has been made yet."_s);

    const QList<std::pair<FTPSecurity, QString>> states{
        { {}, u"The last connection was not encrypted: the password and the files travelled in clear."_s },
        { { .protocol = u"TLSv1.3"_s, .isTrustedBySystem = true, .cipher = u"AES"_s },
          u"The last connection was encrypted with TLSv1.3, AES. The system vouches for the server's certificate."_s },
        { { .protocol = u"TLSv1.2"_s, .isTrustedBySystem = false, .cipher = u"AES"_s },
          u"The last connection was encrypted with TLSv1.2, AES. The server's certificate is one that you trust; the "
          "system does not vouch for it."_s },
    };
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    for (const auto& [security, expected] : states) {
        upload().security = security;

        tick();

        EXPECT_EQ(words(), expected);
        EXPECT_TRUE(control<IconLabel>("connectionIcon").toolTip().contains(expected.toHtmlEscaped()));
        EXPECT_FALSE(pictures.contains(picture())); // Never by its colour alone; see the drawn icons.
        pictures.append(picture());
    }
}

TEST_F(ViewControllerReportsTest, OnlyATextThatHoldsErrorRaisesTheAlert)
{
    m_controller->updateStatus(u"Upload succeeded"_s);
    m_controller->updateStatus(u"FTP error 550"_s);
    m_controller->updateListingStatus(u"Listing succeeded"_s);
    EXPECT_TRUE(shownSheets().isEmpty());

    m_controller->updateListingStatus(u"Error: Check Settings"_s);
    EXPECT_EQ(shownSheets(), QStringList{ checkSettings });
    answerSheet();
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));

    m_controller->updateStatus(u"Sending \"Error.log\""_s);
    EXPECT_EQ(shownSheets(), QStringList{ checkSettings });
    answerSheet();
}

TEST_F(ViewControllerReportsTest, TwoFailuresAcknowledgedBetweenRaiseTwoAlerts)
{
    for (int failure = 0; failure < 2; ++failure) {
        m_controller->updateStatus(u"Error"_s);
        ASSERT_EQ(shownSheets().size(), 1);
        answerSheet();
        ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    }
}

TEST_F(ViewControllerReportsTest, AWindowThatIsNotShownRaisesNoAlert)
{
    m_controller->window().hide();

    m_controller->updateStatus(u"Error"_s);
    m_controller->window().show();
    drainEventLoop();

    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(ViewControllerReportsTest, PercentShowsInBothWindows)
{
    m_controller->percentDone(42.7F);
    tick();

    EXPECT_EQ(bar("percentProgressIndicator").value(), 42);
    EXPECT_EQ(bar("auxiliaryPercentProgressIndicator").value(), 42);
}

TEST_F(ViewControllerReportsTest, MoreThanAllIsShownAsAll)
{
    for (const float percent : { 100.5F, 101.0F, 6.4e9F }) {
        m_controller->percentDone(7);
        tick();

        m_controller->percentDone(percent);
        tick();

        EXPECT_EQ(bar("percentProgressIndicator").value(), 100);
        EXPECT_EQ(bar("auxiliaryPercentProgressIndicator").value(), 100);
    }
}

TEST_F(ViewControllerReportsTest, BytesShowAsAFileSizeWithTheNextTick)
{
    m_controller->bytesDone(static_cast<float>(16777217));
    tick();
    EXPECT_EQ(text("bytesFormattedTextField"), u"16.8 MB"_s);
    EXPECT_EQ(text("bytesFormattedTextField"), stringForFileSize(16777216));

    m_controller->bytesDone(999);
    tick();
    EXPECT_EQ(text("bytesFormattedTextField"), u"999 bytes"_s);
}

TEST_F(ViewControllerReportsTest, TheBytesOfAnUploadPassThroughSinglePrecision)
{
    // Every single-precision number of this size is even: the next ones are 16850000 and 16850002.
    constexpr qint64 size = 16850001;
    ASSERT_EQ(stringForFileSize(size), u"16.9 MB"_s);
    const QString path = makeFile(u"large"_s);
    ASSERT_TRUE(QFile::resize(path, size));
    m_controller->uploadFiles({ path });
    tick();

    upload().sendOpenCompleted();
    while (upload().isOpen() && m_controller->pc().totalBytesWritten() < size) {
        upload().sendHasSpace();
    }
    tick();

    EXPECT_EQ(text("bytesFormattedTextField"), stringForFileSize(16850000));
    EXPECT_EQ(text("bytesFormattedTextField"), u"16.8 MB"_s);
}

TEST_F(ViewControllerReportsTest, TheEndOfAnUploadResetsTheProgress)
{
    m_controller->percentDone(100);
    m_controller->bytesDone(5);
    tick();

    m_controller->uploadDone();
    tick();

    EXPECT_EQ(bar("percentProgressIndicator").value(), 0);
    EXPECT_EQ(text("bytesFormattedTextField"), u""_s);
    EXPECT_EQ(bar("auxiliaryPercentProgressIndicator").value(), 100); // Stays until a manual transfer starts.
}

TEST_F(ViewControllerReportsTest, TheBusyGuardTellsWhatIsRunning)
{
    EXPECT_FALSE(m_controller->alertSendingOrReceiving());
    m_controller->listFTPDestination();
    EXPECT_FALSE(m_controller->alertSendingOrReceiving());

    m_controller->windows().manualTransfers().startStopDownload();
    EXPECT_TRUE(m_controller->alertSendingOrReceiving());
    EXPECT_EQ(shownSheets(), QStringList{ u"Cannot Download: Wait for the current download to complete."_s });
    answerSheet();
    m_controller->stopButtonAction();
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));

    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    EXPECT_TRUE(m_controller->alertSendingOrReceiving());
    EXPECT_EQ(shownSheets(), QStringList{ u"Cannot Download: Wait for the current upload to complete."_s });
    answerSheet();
}

TEST_F(ViewControllerReportsTest, SizesAndNumbersAreWrittenAsDescribed)
{
    EXPECT_EQ(stringForFileSize(0), u"Zero KB"_s);
    EXPECT_EQ(stringForFileSize(1), u"1 byte"_s);
    EXPECT_EQ(stringForFileSize(1234567898), u"1.23 GB"_s);
    EXPECT_EQ(stringForNumber(2.05, u"MB"_s), u"2 MB"_s);
}

} // namespace
