#include "DestinationSettings.h"
#include "Metronome.h"
#include "RunLoop.h"
#include "ViewControllerTest.h"
#include "WidgetEvents.h"

#include <QDialog>
#include <QMenu>
#include <QTimer>

#include <chrono>

using namespace std::chrono_literals;

namespace {

class ViewControllerTickTest : public ViewControllerTest {
protected:
    QString date() { return text("dateStringTextField"); }

    /// Ticks until the window shows another date, and answers that.
    QString nextSecond()
    {
        const QString before = date();
        EXPECT_TRUE(waitFor([this, &before] { return date() != before; }));
        return date();
    }

    /// What a few ticks within one second do to the widgets.
    int widgetEventsOfTicks()
    {
        for (;;) {
            const QString second = date();
            drainEventLoop();
            const WidgetEvents events(*qApp);
            for (int i = 0; i < 10; ++i) {
                tick();
                drainEventLoop();
            }
            if (date() == second) {
                return events.count();
            }
        }
    }
};

TEST_F(ViewControllerTickTest, EveryTickAsksForTheDestination)
{
    const auto inForce = [this] { return m_controller->listing().destination().location; };
    for (const QString& folder : { u"one"_s, u"two"_s }) {
        set(u"FTPFolder"_s, folder);
        tick();
        EXPECT_EQ(inForce(), u"ftp://host/%1/"_s.arg(folder));
    }
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();

    set(u"FTPFolder"_s, u"last"_s);
    tick();

    EXPECT_EQ(inForce(), DestinationSettings::destination().location);
    finishUpload();
    tick();
    EXPECT_EQ(upload().location, u"ftp://host/last/b"_s);
}

TEST_F(ViewControllerTickTest, TheDateGrowsToItsTextAndNeverShrinks)
{
    auto& label = control<QLabel>("dateStringTextField");
    label.setFixedSize(1, 1);
    nextSecond();
    const int needed = label.sizeHint().width();
    EXPECT_GE(label.minimumWidth(), needed);

    label.setFixedWidth(2 * needed);
    nextSecond();
    EXPECT_EQ(label.minimumWidth(), 2 * needed);
}

TEST_F(ViewControllerTickTest, TheTimerTicksAHundredTimesASecond)
{
    constexpr int ticks = 20;
    m_controller->uploadFiles(QStringList(ticks, u"/vanished"_s)); // Each tick passes over one.
    const Metronome twiceAsFast(5ms);
    const Metronome halfAsFast(20ms);

    ASSERT_TRUE(waitFor([this] { return m_controller->fileUploadQueue().isEmpty(); }));

    EXPECT_GE(twiceAsFast.beats(), ticks);
    EXPECT_LE(halfAsFast.beats(), ticks);
}

TEST_F(ViewControllerTickTest, ATickThatHasNothingNewToShowTouchesNoWidget)
{
    EXPECT_EQ(widgetEventsOfTicks(), 0);

    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    m_controller->updateListingStatus(u"Receiving"_s);
    showHalf();

    EXPECT_EQ(widgetEventsOfTicks(), 0);
    EXPECT_TRUE(m_controller->pc().isSending());

    const WidgetEvents events(*qApp);
    nextSecond();
    drainEventLoop();
    EXPECT_GT(events.count(), 0);
}

TEST_F(ViewControllerTickTest, NothingMovesWhileAMenuIsOpen)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    QMenu menu;
    menu.addAction(u"Something"_s);
    menu.popup({ 10, 10 });
    tick();
    EXPECT_TRUE(RunLoop::current().isSuspended());
    EXPECT_EQ(count(Kind::Upload), 0);

    menu.close();
    tick();

    EXPECT_FALSE(RunLoop::current().isSuspended());
    EXPECT_EQ(count(Kind::Upload), 1);
}

TEST_F(ViewControllerTickTest, NothingMovesWhileAQuestionIsOpenAndAllGoesOnAfterwards)
{
    const QString shown = nextSecond();
    const qint64 second = QDateTime::currentSecsSinceEpoch();
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    QString shownLater;
    bool wasSuspended = false;
    qsizetype uploads = -1;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, [&, this] {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog != nullptr && QDateTime::currentSecsSinceEpoch() > second + 1) {
            shownLater = date();
            wasSuspended = RunLoop::current().isSuspended();
            uploads = count(Kind::Upload);
            dialog->accept();
        }
    });
    look.start(20ms);

    m_controller->askInput(u"Name?"_s, u""_s);

    EXPECT_EQ(shownLater, shown);
    EXPECT_TRUE(wasSuspended);
    EXPECT_EQ(uploads, 0);
    EXPECT_TRUE(waitFor([this] { return count(Kind::Upload) == 1; }));
    EXPECT_FALSE(RunLoop::current().isSuspended());
    EXPECT_NE(date(), shown);
}

TEST_F(ViewControllerTickTest, ASheetHoldsNothing)
{
    m_controller->showAlert(u"Title"_s, u"text"_s);
    m_controller->uploadFiles({ makeFile(u"a"_s) });

    tick();

    EXPECT_EQ(shownSheets().size(), 1);
    EXPECT_FALSE(RunLoop::current().isSuspended());
    EXPECT_EQ(count(Kind::Upload), 1);
    nextSecond();
    answerSheet();
}

} // namespace
