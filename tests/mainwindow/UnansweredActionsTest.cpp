#include "FMServer.h"
#include "RunLoop.h"
#include "SlowCall.h"
#include "ViewControllerTest.h"
#include "WaitingPanel.h"

#include <functional>

namespace {

/// Deletes and creates on a server that does not answer before the test wants it to.
class UnansweredActionsTest : public ViewControllerTest {
protected:
    UnansweredActionsTest()
    {
        const auto operation = [call = m_call.function()](const auto&... /*arguments*/) {
            return ItemResult(call() ? ItemOutcome::Done : ItemOutcome::Refused);
        };
        m_controller->items().setOperations({ .deleteFileNamed = operation, .createNewFolder = operation });
        ListingEntry entry;
        entry.name = u"file.txt"_s;
        m_controller->addListEntries({ entry });
    }
    ~UnansweredActionsTest() override
    {
        m_controller->items().setOperations({}); // The call is waited for until nobody has it.
    }

    /// Calls @p act when the panel shows.
    void whenPanelShows(std::function<void(WaitingPanel&)> act)
    {
        QObject::connect(&m_look, &QTimer::timeout, &m_look, [this, act = std::move(act)] {
            auto* const panel = qobject_cast<WaitingPanel*>(QApplication::activeModalWidget());
            if (panel != nullptr) {
                m_look.stop();
                m_panelText = panel->findChild<QLabel*>()->text();
                act(*panel);
            }
        });
        m_look.start(5);
    }
    void stopWaiting()
    {
        whenPanelShows([](const WaitingPanel& panel) { panel.findChild<QPushButton*>()->click(); });
    }

    SlowCall m_call;
    QTimer m_look;
    QString m_panelText;
};

TEST_F(UnansweredActionsTest, ADeletionThatIsGivenUpMayHaveHappenedAndTheListTells)
{
    stopWaiting();

    m_controller->items().deleteFile(u"file.txt"_s);

    EXPECT_EQ(m_panelText, u"Deleting “file.txt”…"_s);
    EXPECT_EQ(shownSheets(),
              QStringList{ u"No Answer: The server has not answered. “file.txt” may or may not have been deleted."_s });
    EXPECT_TRUE(m_controller->lc().isReceiving());
    EXPECT_TRUE(m_controller->listEntries().isEmpty());
}

TEST_F(UnansweredActionsTest, AFolderThatIsGivenUpMayHaveBeenCreatedAndTheListTells)
{
    stopWaiting();

    m_controller->items().createFolder(u"new"_s);

    EXPECT_EQ(m_panelText, u"Creating “new”…"_s);
    EXPECT_EQ(
        shownSheets(),
        QStringList{ u"No Answer: The server has not answered. Folder “new” may or may not have been created."_s });
    EXPECT_TRUE(m_controller->lc().isReceiving());
}

TEST_F(UnansweredActionsTest, TheLateAnswerChangesNothing)
{
    stopWaiting();
    m_controller->items().deleteFile(u"file.txt"_s);
    answerSheet();
    const qsizetype listings = count(Kind::Listing);

    m_call.release();
    m_controller->items().setOperations({});
    ASSERT_TRUE(waitFor([this] { return m_call.hasEnded(); }));
    drainEventLoop();

    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_EQ(count(Kind::Listing), listings);
}

TEST_F(UnansweredActionsTest, ALateAnswerThatWasWaitedForIsTheOutcome)
{
    whenPanelShows([this](WaitingPanel& /*panel*/) { m_call.release(); });

    m_controller->items().deleteFile(u"file.txt"_s);

    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_TRUE(m_controller->lc().isReceiving());
}

TEST_F(UnansweredActionsTest, NamesAreShownAndNotObeyed)
{
    stopWaiting();
    m_controller->items().deleteFile(u"<b>%1\u001b\u202e"_s);
    EXPECT_EQ(m_panelText, u"Deleting “<b>%1␛⟨U+202E⟩”…"_s);
    EXPECT_TRUE(shownSheets().value(0).contains(u"“<b>%1␛⟨U+202E⟩” may"_s));
    answerSheet();

    m_look.disconnect();
    stopWaiting();
    m_controller->items().createFolder(u"\n"_s);
    EXPECT_EQ(m_panelText, u"Creating “␊”…"_s);
    EXPECT_TRUE(shownSheets().value(0).contains(u"“␊” may"_s));
}

TEST_F(UnansweredActionsTest, NothingElseMovesBeforeTheAnswer)
{
    m_controller->uploadFiles({ makeFile(u"up"_s) });
    qsizetype uploads = -1;
    bool wasSuspended = false;
    whenPanelShows([&, this](WaitingPanel& /*panel*/) {
        uploads = count(Kind::Upload);
        wasSuspended = RunLoop::current().isSuspended();
        m_call.release();
    });

    m_controller->items().createFolder(u"new"_s);

    EXPECT_EQ(uploads, 0);
    EXPECT_TRUE(wasSuspended);
    EXPECT_TRUE(waitFor([this] { return count(Kind::Upload) == 1; }));
}

} // namespace
