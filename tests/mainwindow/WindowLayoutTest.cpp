#include "DragDropView.h"
#include "ElidedLabel.h"
#include "FiguresRow.h"
#include "HistoryWindow.h"
#include "PreferencesController.h"
#include "QueuedFilesView.h"
#include "ScreenRoom.h"
#include "StandardFolders.h"
#include "ViewControllerTest.h"

#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>
#include <QWheelEvent>

#include <algorithm>

namespace {

/// The window at the sizes, fonts and locales that people have.
class WindowLayoutTest : public ViewControllerTest {
protected:
    ~WindowLayoutTest() override
    {
        QLocale::setDefault(m_locale);
        QApplication::setFont(m_font);
    }

    /// Another window, as it is for somebody with a font of that size.
    void startWithFontOf(double points)
    {
        QFont font = m_font;
        font.setPointSizeF(points);
        QApplication::setFont(font);
        startAgain();
    }
    void resize(QSize size)
    {
        m_controller->window().resize(size);
        tick();
        drainEventLoop();
    }
    void tickAndLayOut()
    {
        tick();
        drainEventLoop();
    }
    QWidget& widget(const char* name) { return control<QWidget>(name); }
    QRect placeOf(const char* name)
    {
        return { widget(name).mapTo(&m_controller->window(), QPoint()), widget(name).size() };
    }
    void startSending()
    {
        m_controller->uploadFiles({ makeFile(u"first"_s), makeFile(u"second"_s) });
        tick();
        upload().sendOpenCompleted();
        m_controller->percentDone(20);
        m_controller->bytesDone(1'000'000);
        tickAndLayOut();
    }
    void endWithALoss()
    {
        upload().sendRefusal(552);
        tick();
        finishUpload();
        tickAndLayOut();
    }
    /// Starts an upload by hand, or stops it.
    void clickManualUpload()
    {
        QFile manual(downloadsDirectoryPath() + u"/manual"_s);
        ASSERT_TRUE(manual.open(QIODevice::WriteOnly));
        control<QLineEdit>("fileToUploadTextField").setText(u"manual"_s);
        button("startStopUploadButton").click();
        tickAndLayOut();
        tickAndLayOut();
    }
    void expectNothingCut(const std::string& where)
    {
        const QRect window = m_controller->window().rect();
        for (const char* name :
             { "clearQueueButton", "stopButton", "downloadButton", "deleteButton", "newFolderButton" }) {
            EXPECT_TRUE(window.contains(placeOf(name))) << where << name;
            EXPECT_GE(widget(name).width(), widget(name).sizeHint().width()) << where << name;
            EXPECT_GE(widget(name).height(), widget(name).sizeHint().height()) << where << name;
        }
        for (const char* name : { "statusTextField", "waitingTextField", "listingStatusTextField",
                                  "dateStringTextField", "outcomeTextField" }) {
            const auto& label = control<ElidedLabel>(name);
            if (label.isVisible()) {
                EXPECT_TRUE(window.contains(placeOf(name))) << where << name;
                EXPECT_FALSE(label.isCut()) << where << name << label.text().toStdString();
            }
        }
        EXPECT_FALSE(placeOf("transferPane").intersects(placeOf("destinationListingTable"))) << where;
        EXPECT_LE(widget("figuresRow").minimumSizeHint().width(), widget("figuresRow").width()) << where;
        const QRect drop = placeOf("dragAndDropView");
        EXPECT_GE(drop.height(), widget("dragAndDropView").minimumSizeHint().height()) << where;
        EXPECT_GE(placeOf("destinationListingTable").height(), 96) << where;
    }

private:
    const QLocale m_locale;
    const QFont m_font = QApplication::font();
};

TEST_F(WindowLayoutTest, NothingIsCutOnAnyScreenInAnyFontAndLocale)
{
    // 640x480 with its frame, 800x600, 1366x768 at 150 %, 1600x1200 at 200 %, 3840x2160 at 300 %.
    const QList<QSize> sizes{ { 632, 440 }, { 792, 560 }, { 902, 472 }, { 760, 560 }, { 1272, 680 } };
    for (const double points : { 9.0, 18.0 }) {
        for (const QLocale::Language language :
             { QLocale::English, QLocale::German, QLocale::Arabic, QLocale::Chinese }) {
            QLocale::setDefault(QLocale(language));
            for (const QSize& size : sizes) {
                const std::string where = QLocale::languageToString(language).toStdString() + " "
                    + std::to_string(size.width()) + "x" + std::to_string(size.height()) + " " + std::to_string(points)
                    + ": ";
                startWithFontOf(points);
                resize(size);
                EXPECT_EQ(m_controller->window().size(), size) << where; // It is not too large for it.
                expectNothingCut(where);
                startSending();
                expectNothingCut(where);
                endWithALoss();
                ASSERT_TRUE(widget("outcomeLine").isVisible());
                expectNothingCut(where);
            }
        }
    }
}

TEST_F(WindowLayoutTest, TheSmallestWindowIsThatLargeAndGrowsWithTheFont)
{
    EXPECT_EQ(m_controller->window().minimumSize(), QSize(420, 360));
    resize({ 420, 360 });
    expectNothingCut("smallest: ");

    startWithFontOf(18);
    EXPECT_LE(m_controller->window().minimumWidth(), 632);
    EXPECT_LE(m_controller->window().minimumHeight(), 440);
    startWithFontOf(24);
    EXPECT_GT(m_controller->window().minimumWidth(), 420);
    EXPECT_GT(m_controller->window().minimumHeight(), 360);
}

TEST_F(WindowLayoutTest, TheTableStaysWhereItIsWhateverIsToldAboveIt)
{
    for (const QSize& size : { QSize(760, 680), QSize(760, 560), QSize(600, 360) }) {
        startAgain();
        resize(size);
        const QRect place = placeOf("destinationListingTable");

        startSending();
        ASSERT_TRUE(widget("figuresRow").isVisible());
        EXPECT_EQ(placeOf("destinationListingTable"), place);
        endWithALoss();
        ASSERT_TRUE(widget("outcomeLine").isVisible());
        EXPECT_FALSE(widget("figuresRow").isVisible());
        EXPECT_EQ(placeOf("destinationListingTable"), place);
        m_controller->clearQueue();
    }
}

TEST_F(WindowLayoutTest, StopAndClearQueueStayWhereTheyAreWhenTheQueueEnds)
{
    for (const QSize& size : { QSize(760, 680), QSize(760, 500) }) {
        startAgain();
        resize(size);
        startSending();
        const QRect stop = placeOf("stopButton");
        const QRect clear = placeOf("clearQueueButton");

        endWithALoss();
        ASSERT_TRUE(widget("outcomeLine").isVisible());
        EXPECT_EQ(placeOf("stopButton"), stop);
        EXPECT_EQ(placeOf("clearQueueButton"), clear);
        m_controller->clearQueue();
    }
}

TEST_F(WindowLayoutTest, InALowWindowABrokenListingIsToldWhereNothingElseIs)
{
    const auto breakListing = [this] {
        latest(Kind::Listing).sendOpenCompleted();
        m_controller->addListEntries({ ListingEntry() });
        latest(Kind::Listing).sendReadFailure();
        tickAndLayOut();
    };
    for (const int height : { 680, 360 }) {
        startAgain();
        resize({ 760, height });
        const QRect place = placeOf("destinationListingTable");
        m_controller->refresh();
        breakListing();
        ASSERT_TRUE(widget("brokenListingLabel").isVisible());
        EXPECT_EQ(placeOf("destinationListingTable"), place);

        startSending();
        ASSERT_TRUE(widget("transferDetails").isVisible());
        EXPECT_EQ(widget("brokenListingLabel").isVisible(), height == 680);
        EXPECT_EQ(placeOf("destinationListingTable"), place);

        endWithALoss();
        breakListing();
        EXPECT_TRUE(widget("brokenListingLabel").isVisible());
        EXPECT_EQ(widget("outcomeLine").isVisible(), height == 680) << "it stays until it is dismissed";
    }
}

TEST_F(WindowLayoutTest, ALowWindowShowsATransferInPlaceOfTheOutcomeWhichComesBack)
{
    for (const int height : { 680, 360 }) {
        startAgain();
        resize({ 760, height });
        startSending();
        endWithALoss();
        const QRect place = placeOf("destinationListingTable");

        clickManualUpload();
        ASSERT_TRUE(widget("transferDetails").isVisible());
        EXPECT_EQ(widget("outcomeLine").isVisible(), height == 680);
        EXPECT_EQ(placeOf("destinationListingTable"), place);
        resize({ 760, 680 });
        EXPECT_TRUE(widget("outcomeLine").isVisible());
        resize({ 760, height });

        clickManualUpload();
        EXPECT_FALSE(widget("transferDetails").isVisible());
        EXPECT_TRUE(widget("outcomeLine").isVisible());
        EXPECT_EQ(placeOf("destinationListingTable"), place);
    }
}

TEST_F(WindowLayoutTest, StatusAndButtonsOfTheTransferShareALine)
{
    for (const QSize& size : { QSize(760, 680), QSize(420, 360) }) {
        resize(size);
        const int middle = placeOf("stopButton").center().y();
        EXPECT_NEAR(placeOf("statusTextField").center().y(), middle, 1);
        EXPECT_NEAR(placeOf("clearQueueButton").center().y(), middle, 1);
    }
}

TEST_F(WindowLayoutTest, InALowWindowTheDropAreaIsALine)
{
    const auto labels = [this] {
        QList<QRect> places;
        for (const QLabel* label : widget("dragAndDropView").findChildren<QLabel*>()) {
            if (!label->text().isEmpty()) {
                places.append({ label->mapTo(&widget("dragAndDropView"), QPoint()), label->size() });
            }
        }
        return places;
    };
    resize({ 760, 560 });
    EXPECT_GT(labels().at(1).top(), labels().at(0).center().y());

    resize({ 760, 559 });
    EXPECT_NEAR(labels().at(1).center().y(), labels().at(0).center().y(), 1);
    startSending();
    const QueuedFilesView& list = *control<DragDropView>("dragAndDropView").textView();
    EXPECT_EQ(list.height(), list.sizeHintForRow(0));
}

TEST_F(WindowLayoutTest, TheListHasABarExactlyWhereThereIsSomethingToScrollAndRoomForAHandle)
{
    auto& view = control<DragDropView>("dragAndDropView");
    QueuedFilesView& list = *view.textView();
    PathList files;
    for (int count = 1; count <= 6; ++count) {
        files.append(u"/a"_s);
        view.displayDroppedFiles(files);
        for (int height = 560; height <= 760; height += 9) {
            resize({ 760, height });
            const bool isCut = count * list.sizeHintForRow(0) > list.viewport()->height();
            const bool isRoomForAHandle = list.height() >= 2 * list.style()->pixelMetric(QStyle::PM_ScrollBarExtent)
                    + list.style()->pixelMetric(QStyle::PM_ScrollBarSliderMin);
            EXPECT_EQ(list.verticalScrollBar()->isVisible(), isCut && isRoomForAHandle) << count << " in " << height;
        }
    }
}

TEST_F(WindowLayoutTest, AListOfAFewLinesScrollsWithoutABar)
{
    auto& view = control<DragDropView>("dragAndDropView");
    QueuedFilesView& list = *view.textView();
    QScrollBar& bar = *list.verticalScrollBar();
    view.displayDroppedFiles({ u"/a"_s, u"/b"_s, u"/c"_s, u"/d"_s, u"/e"_s, u"/f"_s, u"/g"_s, u"/h"_s });
    resize({ 760, 700 });
    ASSERT_GE(list.height(), 3 * list.sizeHintForRow(0));
    EXPECT_TRUE(bar.isVisible());

    resize({ 760, 559 });

    ASSERT_LT(list.height(), 3 * list.sizeHintForRow(0));
    EXPECT_FALSE(bar.isVisible());
    QTest::keyClick(&list, Qt::Key_Home);
    QTest::keyClick(&list, Qt::Key_End);
    EXPECT_EQ(bar.value(), bar.maximum());
    const QPoint centre = list.viewport()->rect().center();
    QWheelEvent turn(centre, list.viewport()->mapToGlobal(centre), QPoint(), QPoint(0, 120), Qt::NoButton,
                     Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(list.viewport(), &turn);
    EXPECT_LT(bar.value(), bar.maximum());
}

TEST_F(WindowLayoutTest, InANarrowWindowTheOutcomesButtonsStandBelowIt)
{
    const auto isBelow
        = [this] { return placeOf("showOutcomeButton").top() > placeOf("outcomeTextField").center().y(); };
    resize({ 760, 680 });
    startSending();
    endWithALoss();
    EXPECT_FALSE(isBelow());

    resize({ 420, 680 });
    EXPECT_TRUE(isBelow());
    expectNothingCut("narrow: ");
    resize({ 420, 360 });
    EXPECT_FALSE(isBelow()); // A second line has no room.
    expectNothingCut("small: ");
}

TEST_F(WindowLayoutTest, TheOutcomesButtonsWithoutRoomAreInItsMenu)
{
    set(u"WebAddress"_s, u"https://www.example.com"_s);
    set(u"RetryFailedFiles"_s, true);
    const QList<const char*> buttons{ "queueOutcomeAgainButton", "tryNowButton", "giveUpTriesButton",
                                      "copyOutcomeWebLinkButton" };
    const auto shown = [this, &buttons] {
        return std::count_if(buttons.begin(), buttons.end(),
                             [this](const char* name) { return widget(name).isVisible(); });
    };
    for (const QSize& size : { QSize(420, 360), QSize(632, 440) }) {
        const double points = size.width() == 420 ? 9 : 18;
        startWithFontOf(points);
        resize({ 1900, 1200 });
        startSending();
        finishUpload();
        tick();
        upload().sendRefusal(421);
        tickAndLayOut();
        EXPECT_EQ(shown(), 4);
        EXPECT_FALSE(widget("moreOutcomeButton").isVisible());
        widget("giveUpTriesButton").setFocus();

        resize(size);

        EXPECT_EQ(m_controller->window().size(), size) << points;
        expectNothingCut("menu: ");
        ASSERT_TRUE(widget("moreOutcomeButton").isVisible());
        EXPECT_EQ(m_controller->window().focusWidget(), &widget("destinationListingTable"));
        QMenu& menu = *control<QToolButton>("moreOutcomeButton").menu();
        emit menu.aboutToShow();
        EXPECT_EQ(shown() + menu.actions().size(), 4);
        EXPECT_TRUE(placeOf("outcomeLine").contains(placeOf("dismissOutcomeButton")));
        const QList<QAction*> actions = menu.actions();
        const auto giveUp = std::find_if(actions.begin(), actions.end(),
                                         [](const QAction* action) { return action->text() == u"Give Up"_s; });
        ASSERT_NE(giveUp, actions.end());
        (*giveUp)->trigger();
        EXPECT_EQ(m_controller->tries().waitingCount(), 0);
    }
}

TEST_F(WindowLayoutTest, WhatHasNoRoomBesideTheBytesGivesWay)
{
    resize({ 760, 680 });
    startSending();
    EXPECT_TRUE(widget("totalBytesTextField").isVisible());
    EXPECT_TRUE(widget("percentTextField").isVisible());
    EXPECT_EQ(text("waitingTextField"), u"1 waiting"_s);
    EXPECT_GE(widget("waitingTextField").width(),
              widget("waitingTextField").fontMetrics().horizontalAdvance(u"1 waiting"_s));

    control<FiguresRow>("figuresRow").setFixedWidth(widget("bytesFormattedTextField").width());
    drainEventLoop();

    EXPECT_TRUE(widget("bytesFormattedTextField").isVisible());
    EXPECT_FALSE(widget("totalBytesTextField").isVisible());
    EXPECT_FALSE(widget("percentTextField").isVisible());
}

TEST_F(WindowLayoutTest, AfterTheQueueItsListIsDimmedAndTheHintIsBack)
{
    const auto& view = control<DragDropView>("dragAndDropView");
    const auto isHintVisible = [&view] {
        const QList<QLabel*> labels = view.findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(), [](const QLabel* label) {
            return label->isVisible() && label->text() == u"Drop files here"_s;
        });
    };
    const auto colour = [&view] { return view.textView()->foregroundRole(); };
    EXPECT_TRUE(isHintVisible());
    startSending();
    EXPECT_FALSE(isHintVisible());
    EXPECT_EQ(colour(), QPalette::Text);
    const QString list = view.textView()->toPlainText();

    endWithALoss();

    EXPECT_TRUE(isHintVisible());
    EXPECT_TRUE(view.textView()->isVisible());
    EXPECT_EQ(colour(), QPalette::PlaceholderText);
    EXPECT_EQ(view.textView()->toPlainText(), list);
}

TEST_F(WindowLayoutTest, TheListOfAnEndedQueueStaysDimmedWhateverElseGoesOn)
{
    const auto colour = [this] { return control<DragDropView>("dragAndDropView").textView()->foregroundRole(); };
    startSending();
    endWithALoss();
    ASSERT_EQ(colour(), QPalette::PlaceholderText);

    clickManualUpload();
    EXPECT_TRUE(m_controller->pc().isSending());
    EXPECT_EQ(colour(), QPalette::PlaceholderText);
    clickManualUpload();

    unset(u"Address"_s);
    m_controller->uploadFiles({ makeFile(u"third"_s) });
    tickAndLayOut();
    EXPECT_EQ(colour(), QPalette::PlaceholderText);
}

TEST_F(WindowLayoutTest, TheHintThatIsBackTakesTwoLinesWhereThereIsRoom)
{
    resize({ 760, 560 });
    startSending();
    endWithALoss();

    const QList<QLabel*> labels = widget("dragAndDropView").findChildren<QLabel*>();
    const auto key = std::find_if(labels.begin(), labels.end(),
                                  [](const QLabel* label) { return label->text() == u"or press Ctrl+O"_s; });
    ASSERT_NE(key, labels.end());
    EXPECT_TRUE((*key)->isVisible());
}

TEST_F(WindowLayoutTest, TheOtherWindowsOpenWithinTheirScreenInAnyFont)
{
    for (const double points : { 9.0, 18.0, 32.0 }) {
        startWithFontOf(points);
        SecondaryWindows& windows = m_controller->windows();
        m_controller->showWelcomeWindow(true);
        windows.showManualTransfers();
        windows.showPreferences();
        windows.showHistory({});
        drainEventLoop();
        const std::initializer_list<const QWidget*> all{ &windows.welcomeWindow(), &windows.manualTransfers(),
                                                         windows.preferences().view(), windows.historyWindow() };
        for (const QWidget* window : all) {
            for (const QPushButton* button : window->findChildren<QPushButton*>()) {
                EXPECT_GE(button->width(), button->isVisible() ? button->sizeHint().width() : 0)
                    << points << button->text().toStdString();
            }
            EXPECT_EQ(window->size().boundedTo(roomOnScreen(*window)), window->size())
                << points << window->windowTitle().toStdString();
        }
        const QPushButton& close = *windows.welcomeWindow().findChild<QPushButton*>(u"closeWelcomeButton"_s);
        EXPECT_TRUE(
            windows.welcomeWindow().rect().contains({ close.mapTo(&windows.welcomeWindow(), QPoint()), close.size() }))
            << points;
    }
}

TEST_F(WindowLayoutTest, TheirPagesNeedNoScrollingSideways)
{
    for (const double points : { 9.0, 18.0 }) {
        startWithFontOf(points);
        SecondaryWindows& windows = m_controller->windows();
        windows.showManualTransfers();
        windows.showPreferences();
        QTabWidget& pages = *windows.preferences().view()->findChild<QTabWidget*>(u"pages"_s);
        for (int page = 0; page < pages.count(); ++page) {
            pages.setCurrentIndex(page);
            drainEventLoop();
            const auto* area = qobject_cast<QScrollArea*>(pages.currentWidget());
            EXPECT_EQ(area->horizontalScrollBar()->maximum(), 0) << points << page;
        }
        const auto* manual = windows.manualTransfers().findChild<QScrollArea*>();
        if (points == 9.0) {
            EXPECT_EQ(manual->horizontalScrollBar()->maximum(), 0);
        }
    }
}

TEST_F(WindowLayoutTest, WithTheUsualFontTheWelcomeShowsAllOfItsTexts)
{
    m_controller->showWelcomeWindow(true);
    drainEventLoop();
    EXPECT_EQ(m_controller->windows().welcomeWindow().findChild<QScrollArea*>()->verticalScrollBar()->maximum(), 0);
}

TEST_F(WindowLayoutTest, TheWindowOpensWithinItsScreen)
{
    m_controller->window().resize(5000, 5000);
    m_controller->window().remember();
    startAgain();

    EXPECT_TRUE(m_controller->window().screen()->availableGeometry().contains(m_controller->window().geometry()));
}

} // namespace
