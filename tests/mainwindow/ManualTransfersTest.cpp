#include "StandardFolders.h"
#include "ViewControllerTest.h"

#include <QLineEdit>
#include <QTest>

#include <array>
#include <cstdlib>
#include <vector>

namespace {

/// The buttons that start a transfer with one click and stop it with the next.
constexpr std::array transferButtons{ "startStopUploadButton", "startStopDownloadButton", "startStopListButton",
                                      "listDestinationButton", "startStopCreateButton" };

class ManualTransfersTest : public ViewControllerTest {
protected:
    ManualTransfersTest()
    {
        control<QLineEdit>("destinationTextField").setText(u"sub"_s);
        control<QLineEdit>("fileToDownloadTextField").setText(u"down.bin"_s);
        control<QLineEdit>("fileToUploadTextField").setText(u"up.bin"_s);
        control<QLineEdit>("folderToCreateTextField").setText(u"new"_s);
        QFile file(downloadsDirectoryPath() + u"/up.bin"_s);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("hello");
    }
};

TEST_F(ManualTransfersTest, EachTransferIsALineWithItsFieldAndItsButtons)
{
    const std::vector<std::vector<const char*>> lines{
        { "fileToUploadTextField", "startStopUploadButton" },
        { "fileToDownloadTextField", "startStopDownloadButton" },
        { "destinationTextField", "startStopListButton", "listDestinationButton" },
        { "folderToCreateTextField", "startStopCreateButton", "createButton" },
    };
    m_controller->windows().showManualTransfers();
    QRect above;
    for (const std::vector<const char*>& line : lines) {
        const QRect field = control<QWidget>(line.front()).geometry();
        EXPECT_GT(field.top(), above.bottom());
        QRect before = above = field;
        for (std::size_t i = 1; i < line.size(); ++i) {
            const QRect button = control<QWidget>(line[i]).geometry();
            EXPECT_LE(std::abs(button.center().y() - field.center().y()), 1) << line[i];
            EXPECT_GT(button.left(), before.right()) << line[i];
            before = button;
        }
    }
}

TEST_F(ManualTransfersTest, EscapeClosesTheWindow)
{
    m_controller->windows().showManualTransfers();
    showInFront(m_controller->windows().manualTransfers());
    control<QLineEdit>("destinationTextField").setFocus();

    QTest::keyClick(&control<QLineEdit>("destinationTextField"), Qt::Key_Escape);

    EXPECT_FALSE(m_controller->windows().manualTransfers().isVisible());
}

TEST_F(ManualTransfersTest, UploadStartsAndStops)
{
    button("startStopUploadButton").click();
    EXPECT_EQ(latest(Kind::Upload).location, u"ftp://host/in/sub/up.bin"_s);

    button("startStopUploadButton").click();
    tick();
    EXPECT_EQ(text("auxiliaryStatusTextField"), u"Upload Stopped"_s);
    EXPECT_FALSE(m_controller->pc().isSending());
}

TEST_F(ManualTransfersTest, DownloadStartsIntoTheDefaultPlaceAndStops)
{
    button("startStopDownloadButton").click();
    EXPECT_EQ(latest(Kind::Download).location, u"ftp://host/in/down.bin/"_s);
    EXPECT_TRUE(m_controller->gc().filePath().startsWith(downloadsDirectoryPath() + u'/'));
    EXPECT_TRUE(m_controller->gc().filePath().endsWith(u"-down.bin"_s));

    button("startStopDownloadButton").click();
    tick();
    EXPECT_EQ(text("auxiliaryStatusTextField"), u"Download Stopped"_s);
}

TEST_F(ManualTransfersTest, EachStartsFromNothingAndItsStopChangesNothing)
{
    for (const char* name : transferButtons) {
        SCOPED_TRACE(name);
        showHalf();

        button(name).click();
        tick();
        EXPECT_EQ(progress(), u"0, 0, "_s);
        showHalf();
        button(name).click();
        tick();

        EXPECT_TRUE(m_streams.last().isClosed());
        EXPECT_EQ(progress(), half);
    }
}

TEST_F(ManualTransfersTest, EachLogsInAsTheUserOfThatMoment)
{
    for (const char* name : transferButtons) {
        SCOPED_TRACE(name);
        const QString user = QString::fromLatin1(name);
        set({ { u"Username"_s, user }, { u"Password"_s, user.toUpper() } });

        button(name).click();

        EXPECT_EQ(m_streams.last().calls.mid(0, 2),
                  (QStringList{ u"setUserName "_s + user, u"setPassword "_s + user.toUpper() }));
        button(name).click(); // Stops it.
        EXPECT_TRUE(m_streams.last().isClosed());
    }
    EXPECT_EQ(m_streams.streams().size(), transferButtons.size());
}

TEST_F(ManualTransfersTest, UploadAndDownloadDoNotAskForEachOther)
{
    button("startStopUploadButton").click();
    button("startStopDownloadButton").click();
    tick();

    EXPECT_TRUE(m_controller->pc().isSending());
    EXPECT_TRUE(m_controller->gc().isReceiving());
    EXPECT_TRUE(button("stopButton").isEnabled());
}

TEST_F(ManualTransfersTest, OfAnUploadAndADownloadTheUploadIsToldOfAndStoppedFirst)
{
    button("startStopUploadButton").click();
    button("startStopDownloadButton").click();
    tick();

    EXPECT_TRUE(m_controller->alertSendingOrReceiving());
    EXPECT_EQ(shownSheets(), QStringList{ u"Cannot Download: Wait for the current upload to complete."_s });
    answerSheet();
    button("stopButton").click();
    tick();

    EXPECT_FALSE(m_controller->pc().isSending());
    EXPECT_FALSE(m_controller->gc().isReceiving());
    EXPECT_EQ(text("statusTextField"), u"Download Stopped"_s); // The last word.
}

TEST_F(ManualTransfersTest, TheListButtonListsTheManualFolderAndAnyOtherTheDestination)
{
    m_controller->addListEntries({ ListingEntry() });

    button("startStopListButton").click();
    EXPECT_EQ(latest(Kind::Listing).location, u"ftp://host/in/sub/"_s);
    EXPECT_TRUE(m_controller->listEntries().isEmpty());
    button("startStopListButton").click();
    tick();
    EXPECT_EQ(text("listingStatusTextField"), u"List Stopped"_s);

    button("listDestinationButton").click();
    EXPECT_EQ(latest(Kind::Listing).location, u"ftp://host/in/"_s);
}

TEST_F(ManualTransfersTest, AListWithoutADestinationReportsWhatTheControllerSays)
{
    unset(u"Address"_s);

    button("listDestinationButton").click();
    tick();

    EXPECT_EQ(text("listingStatusTextField"), u"Invalid URL"_s);
}

TEST_F(ManualTransfersTest, ListAndCreateAskTheBusyGuard)
{
    button("startStopUploadButton").click();

    button("startStopListButton").click();
    EXPECT_EQ(shownSheets(), QStringList{ u"Cannot Download: Wait for the current upload to complete."_s });
    answerSheet();
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    button("startStopCreateButton").click();
    EXPECT_EQ(shownSheets().size(), 1);
    answerSheet();

    EXPECT_EQ(count(Kind::Listing), 0);
    EXPECT_EQ(count(Kind::Folder), 0);
}

TEST_F(ManualTransfersTest, CreateTakesNameAndPlaceFromTheFieldsAndStops)
{
    button("startStopCreateButton").click();
    EXPECT_EQ(latest(Kind::Folder).location, u"ftp://host/in/sub/new/"_s);

    button("startStopCreateButton").click();
    tick();
    EXPECT_EQ(text("auxiliaryStatusTextField"), u"Create Stopped"_s);
}

TEST_F(ManualTransfersTest, TheCreateButtonAsksForANameAndCreatesItInTheDestination)
{
    answerPrompt(u"asked"_s);

    button("createButton").click();

    EXPECT_EQ(m_prompt, u"Enter name of folder to create."_s);
    EXPECT_EQ(m_promptDefault, u""_s);
    EXPECT_EQ(latest(Kind::Folder).location, u"ftp://host/in/asked"_s);
    EXPECT_EQ(latest(Kind::Folder).calls.mid(0, 2), login);
}

TEST_F(ManualTransfersTest, WithoutANameNothingIsCreated)
{
    for (const QString& answer : { QString(), u""_s }) {
        answerPrompt(answer);

        button("createButton").click();

        EXPECT_EQ(count(Kind::Folder), 0);
    }
}

TEST_F(ManualTransfersTest, TheCreateButtonAsksBeforeItStopsARunningCreation)
{
    button("startStopCreateButton").click();
    answerPrompt(u"asked"_s);

    button("createButton").click();
    tick();

    EXPECT_EQ(m_prompt, u"Enter name of folder to create."_s);
    EXPECT_EQ(text("auxiliaryStatusTextField"), u"Create Stopped"_s);
    EXPECT_EQ(count(Kind::Folder), 1);
}

TEST_F(ManualTransfersTest, TheBarShowsWhileATransferRunsAndNothingMovesForIt)
{
    m_controller->windows().showManualTransfers();
    drainEventLoop();
    const QPoint place = button("startStopUploadButton").pos();
    EXPECT_FALSE(bar("auxiliaryPercentProgressIndicator").isVisible());

    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    tick();
    drainEventLoop();
    EXPECT_TRUE(bar("auxiliaryPercentProgressIndicator").isVisible());
    EXPECT_EQ(button("startStopUploadButton").pos(), place);

    finishUpload();
    tick();
    EXPECT_FALSE(bar("auxiliaryPercentProgressIndicator").isVisible());
}

} // namespace
