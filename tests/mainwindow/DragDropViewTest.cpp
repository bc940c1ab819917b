#include "DragDropView.h"

#include "LocalPath.h"
#include "QueuedFilesView.h"
#include "ViewControllerTest.h"
#include "WidgetEvents.h"

#include <QAccessible>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QMimeData>
#include <QTest>
#include <QUrl>

namespace {

class DragDropViewTest : public ViewControllerTest {
protected:
    DragDropView& view() { return control<DragDropView>("dragAndDropView"); }

    /// Makes the drag name @p paths.
    void name(const QStringList& paths)
    {
        QList<QUrl> urls;
        for (const QString& path : paths) {
            urls.append(QUrl::fromLocalFile(path));
        }
        m_data.setUrls(urls);
    }

    /// Sends the events of a whole drop; answers the action that was accepted.
    Qt::DropAction drop(Qt::DropAction proposed = Qt::CopyAction)
    {
        QDragEnterEvent enter({ 5, 5 }, Qt::CopyAction | Qt::MoveAction, &m_data, Qt::LeftButton, Qt::NoModifier);
        enter.setDropAction(proposed);
        QApplication::sendEvent(&view(), &enter);
        QDropEvent event({ 5, 5 }, Qt::CopyAction | Qt::MoveAction, &m_data, Qt::LeftButton, Qt::NoModifier);
        event.setDropAction(proposed);
        QApplication::sendEvent(&view(), &event);
        EXPECT_EQ(event.isAccepted(), event.dropAction() != Qt::IgnoreAction);
        return event.dropAction();
    }

    QMimeData m_data;
};

TEST_F(DragDropViewTest, IsMadeReadyForDropsWithoutAnyBefore)
{
    EXPECT_TRUE(view().acceptDrops());
    EXPECT_EQ(view().viewController(), m_controller.get());
    EXPECT_EQ(view().droppedFiles(), QStringList());
    view().setDroppedFiles({ u"/a"_s });
    EXPECT_EQ(view().droppedFiles(), QStringList{ u"/a"_s });
    EXPECT_TRUE(view().performDragOperation());

    view().awakeFromNib();

    EXPECT_EQ(view().droppedFiles(), QStringList());
    EXPECT_FALSE(view().performDragOperation());
}

TEST_F(DragDropViewTest, ADragOfTextHighlightsAndOffersNothing)
{
    m_data.setText(u"text"_s);

    EXPECT_EQ(view().draggingEntered(m_data), Qt::IgnoreAction);
    EXPECT_TRUE(view().highlight());
    view().draggingExited();
    EXPECT_FALSE(view().highlight());
}

TEST_F(DragDropViewTest, ADragOfFilesHighlightsAndOffersACopy)
{
    name({ makeFile(u"a"_s) });

    EXPECT_EQ(view().draggingEntered(m_data), Qt::CopyAction);
    EXPECT_TRUE(view().highlight());
}

TEST_F(DragDropViewTest, EnterIsAcceptedInEitherCaseSoThatLeavingIsReported)
{
    m_data.setText(u"text"_s);
    QDragEnterEvent enter({ 5, 5 }, Qt::CopyAction, &m_data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&view(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_EQ(enter.dropAction(), Qt::IgnoreAction);
    EXPECT_TRUE(view().highlight());

    QDragLeaveEvent leave;
    QApplication::sendEvent(&view(), &leave);

    EXPECT_FALSE(view().highlight());
}

TEST_F(DragDropViewTest, FilesAreQueuedInTheDropsOrderAndFoldersIgnored)
{
    const QString b = makeFile(u"b"_s);
    const QString a = makeFile(u"a"_s);
    name({ b, m_directory.path(), a, m_directory.filePath(u"missing"_s), b });

    EXPECT_EQ(drop(Qt::MoveAction), Qt::CopyAction);

    EXPECT_EQ(m_controller->fileUploadQueue(), (QStringList{ b, a, b }));
    EXPECT_EQ(view().droppedFiles(), (QStringList{ b, a, b }));
    EXPECT_TRUE(view().performDragOperation());
    EXPECT_FALSE(view().highlight());
    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(DragDropViewTest, ADropWithoutAPlainFileIsRefusedWithAnAlert)
{
    name({ m_directory.path() });

    EXPECT_FALSE(view().prepareForDragOperation(m_data));

    EXPECT_EQ(shownSheets(), QStringList{ u"No Files: Drop files only."_s });
    EXPECT_EQ(m_controller->history().queueTally(), FileTally{ .leftOut = 1 });
    answerSheet();
    EXPECT_FALSE(view().performDragOperation());
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    EXPECT_EQ(drop(Qt::MoveAction), Qt::IgnoreAction);
    EXPECT_EQ(shownSheets().size(), 1);
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    answerSheet();
}

TEST_F(DragDropViewTest, DroppedTextThatWasOfferedNothingIsLeftAloneWithoutAWord)
{
    m_data.setText(u"text"_s);

    EXPECT_EQ(drop(), Qt::IgnoreAction);

    EXPECT_FALSE(view().highlight());
    EXPECT_TRUE(shownSheets().isEmpty());
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
}

TEST_F(DragDropViewTest, AMovingDragIsOfferedWhatItWasAtFirstAndItsListIsNotReadAgain)
{
    for (const bool namesFiles : { true, false }) {
        namesFiles ? name({ makeFile(u"a"_s) }) : m_data.setUrls({ QUrl(u"http://host/a"_s) });
        QDragEnterEvent enter({ 5, 5 }, Qt::CopyAction, &m_data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&view(), &enter);
        m_data.clear();
        QDragMoveEvent move({ 9, 9 }, Qt::CopyAction, &m_data, Qt::LeftButton, Qt::NoModifier);

        QApplication::sendEvent(&view(), &move);

        EXPECT_TRUE(move.isAccepted());
        EXPECT_EQ(move.dropAction(), namesFiles ? Qt::CopyAction : Qt::IgnoreAction);
    }
}

TEST_F(DragDropViewTest, ARefusedDropKeepsTheFilesOfTheLastAcceptedOne)
{
    const QString a = makeFile(u"a"_s);
    name({ a });
    ASSERT_TRUE(view().prepareForDragOperation(m_data));
    name({ m_directory.path() });

    EXPECT_FALSE(view().prepareForDragOperation(m_data));

    EXPECT_EQ(view().droppedFiles(), QStringList{ a });
    answerSheet();
}

TEST_F(DragDropViewTest, SpaceReturnAndAScreenReaderOpenTheFileChooser)
{
    const auto opensIt = [this](const std::function<void()>& press) {
        press();
        const std::unique_ptr<QFileDialog> chooser(m_controller->window().findChild<QFileDialog*>());
        return chooser != nullptr && chooser->isVisible();
    };
    QAccessibleInterface& accessible = *QAccessible::queryAccessibleInterface(&view());

    for (const Qt::Key key : { Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter }) {
        EXPECT_TRUE(opensIt([this, key] { QTest::keyClick(&view(), key); })) << key;
    }
    EXPECT_FALSE(opensIt([this] { QTest::keyClick(&view(), Qt::Key_A); }));
    EXPECT_TRUE(
        opensIt([&accessible] { accessible.actionInterface()->doAction(QAccessibleActionInterface::pressAction()); }));
    EXPECT_TRUE(accessible.actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    EXPECT_EQ(accessible.role(), QAccessible::Grouping);
    EXPECT_EQ(accessible.text(QAccessible::Name), u"Drop area"_s);
    EXPECT_TRUE(accessible.text(QAccessible::Description).startsWith(u"Files that are dropped here are uploaded."_s));
}

TEST_F(DragDropViewTest, TheListShowsWhileItHasFilesAndIsThereToReadOnly)
{
    view().displayDroppedFiles({ u"/a"_s });
    EXPECT_TRUE(view().textView()->isVisible());

    QTest::keyClicks(view().textView(), u"typed"_s);

    EXPECT_EQ(view().textView()->toPlainText(), u"1) /a\n\n"_s);
    view().displayDroppedFiles({});
    EXPECT_EQ(view().textView()->toPlainText(), u""_s);
    EXPECT_FALSE(view().textView()->isVisible());
}

TEST_F(DragDropViewTest, ADragOverTheShownListIsTheViews)
{
    view().displayDroppedFiles({ u"/a"_s });
    ASSERT_TRUE(view().textView()->isVisible());
    name({ makeFile(u"a"_s) });
    QDragEnterEvent enter({ 5, 5 }, Qt::CopyAction, &m_data, Qt::LeftButton, Qt::NoModifier);

    QApplication::sendEvent(view().textView()->viewport(), &enter);

    EXPECT_TRUE(enter.isAccepted());
    EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
    EXPECT_TRUE(view().highlight());
}

TEST_F(DragDropViewTest, TheHighlightIsPaintedAsSoonAsItComesAndGoes)
{
    m_data.setText(u"text"_s);
    drainEventLoop();

    const WidgetEvents whenItComes(view());
    view().draggingEntered(m_data);
    drainEventLoop();
    EXPECT_GT(whenItComes.count(), 0);

    const WidgetEvents whenItGoes(view());
    view().draggingExited();
    drainEventLoop();
    EXPECT_GT(whenItGoes.count(), 0);
}

TEST_F(DragDropViewTest, TheBackgroundIsThatOfControlsWithinTheFrame)
{
    view().setPalette(QPalette(Qt::black, Qt::gray, Qt::gray, Qt::gray, Qt::gray, Qt::black, Qt::red));

    const QImage image = m_controller->window().grab().toImage();
    const QPoint corner = view().mapTo(&m_controller->window(), QPoint(0, 0));
    const QColor window = m_controller->window().palette().color(QPalette::Window);

    EXPECT_EQ(image.pixelColor(corner + QPoint(30, 30)), QColor(Qt::red));
    // Outside the round corners of the frame the window shows.
    EXPECT_EQ(image.pixelColor(corner), window);
    EXPECT_EQ(image.pixelColor(corner + view().rect().bottomRight()), window);
}

TEST_F(DragDropViewTest, TheHighlightIsALineOfFiveAroundWhatIsRedrawnAndLeavesThisWidth)
{
    m_data.setText(u"text"_s);
    const QRect part(30, 30, 60, 60);
    QImage plain(view().size(), QImage::Format_RGB32);
    view().render(&plain, part.topLeft(), part);

    view().draggingEntered(m_data);
    QImage lit(view().size(), QImage::Format_RGB32);
    view().render(&lit, part.topLeft(), part);
    view().draggingExited();

    const QColor frame = view().palette().color(QPalette::Highlight);
    // Half of the line lies outside.
    EXPECT_EQ(lit.pixelColor(32, 60), frame);
    EXPECT_NE(lit.pixelColor(33, 60), frame);
    EXPECT_NE(plain.pixelColor(32, 60), frame);
    EXPECT_DOUBLE_EQ(DragDropView::defaultLineWidth(), 5.0);
}

TEST_F(DragDropViewTest, WithoutAWindowThereIsNoAlert)
{
    DragDropView alone;

    alone.showAlert(u"Title"_s, u"text"_s);

    EXPECT_TRUE(shownSheets().isEmpty());
}

} // namespace
