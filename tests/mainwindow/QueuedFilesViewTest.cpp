#include "QueuedFilesView.h"

#include "LocalPath.h"
#include "Printers.h"
#include "WaitFor.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

PathList numbered(int count)
{
    PathList files;
    for (int number = 1; number <= count; ++number) {
        files.append(u"/f%1"_s.arg(number));
    }
    return files;
}

/// The smallest rectangle that holds all of @p image that has not the colour of its last corner.
QRect placeOfInk(const QImage& image)
{
    QRect place;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != image.pixel(image.rect().bottomRight())) {
                place |= QRect(x, y, 1, 1);
            }
        }
    }
    return place;
}

/// Counts the lines that are painted.
class CountingDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        ++painted;
        QStyledItemDelegate::paint(painter, option, index);
    }

    mutable int painted = 0;
};

class QueuedFilesViewTest : public testing::Test {
protected:
    QueuedFilesViewTest()
    {
        m_view.resize(300, 100);
        m_view.show();
    }

    QImage picture()
    {
        QImage image(m_view.size(), QImage::Format_RGB32);
        m_view.render(&image);
        return image;
    }
    QString copied()
    {
        QApplication::clipboard()->setText(u"nothing"_s);
        QTest::keyClick(&m_view, Qt::Key_C, Qt::ControlModifier);
        return QApplication::clipboard()->text();
    }
    QAccessibleInterface& accessible() { return *QAccessible::queryAccessibleInterface(&m_view); }

    QueuedFilesView m_view;
};

TEST_F(QueuedFilesViewTest, EachFileHasANumberAndAnEmptyLineBehindIt)
{
    m_view.setFiles({ u"/a"_s, u"/b %1"_s, LocalPath::fromBytes("/caf\xe9"), u"/line\nend"_s, QString(5000, u'x') });

    EXPECT_EQ(m_view.toPlainText(),
              u"1) /a\n\n2) /b %1\n\n3) /caf⟨0xE9⟩\n\n4) /line␊end\n\n5) "_s + QString(5000, u'x') + u"\n\n"_s);
    m_view.setFiles({});
    EXPECT_EQ(m_view.toPlainText(), u""_s);
}

TEST_F(QueuedFilesViewTest, OnlyTheLinesThatAreSeenAreMade)
{
    CountingDelegate delegate;
    m_view.setItemDelegate(&delegate);
    m_view.setFiles(numbered(100'000));
    const int lineHeight = m_view.sizeHintForRow(0);

    m_view.verticalScrollBar()->setValue(m_view.verticalScrollBar()->maximum() / 2);
    delegate.painted = 0;
    picture();

    EXPECT_GT(delegate.painted, 0);
    EXPECT_LE(delegate.painted, m_view.viewport()->height() / lineHeight + 2);
}

TEST_F(QueuedFilesViewTest, TheLastLineOfManyIsReached)
{
    m_view.setFiles(numbered(100'000));

    QTest::keyClick(&m_view, Qt::Key_Home);
    QTest::keyClick(&m_view, Qt::Key_End);

    EXPECT_EQ(m_view.currentIndex().data().toString(), u"100000) /f100000"_s);
    EXPECT_TRUE(m_view.viewport()->rect().contains(m_view.visualRect(m_view.currentIndex())));
}

TEST_F(QueuedFilesViewTest, ItStaysWhereItWasScrolledToWhenFilesCome)
{
    m_view.setFiles(numbered(1000));
    drainEventLoop();
    m_view.verticalScrollBar()->setValue(700);

    m_view.setFiles(numbered(1001));
    drainEventLoop();

    EXPECT_EQ(m_view.verticalScrollBar()->value(), 700);
}

TEST_F(QueuedFilesViewTest, SelectedLinesAreCopiedAsTheyStandInTheText)
{
    m_view.setFiles(numbered(4));
    EXPECT_EQ(copied(), u"nothing"_s);

    QTest::keyClick(&m_view, Qt::Key_Home);
    QTest::keyClick(&m_view, Qt::Key_Down);
    QTest::keyClick(&m_view, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(copied(), u"2) /f2\n\n3) /f3\n\n"_s);

    QTest::keyClick(&m_view, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(copied(), m_view.toPlainText());
}

TEST_F(QueuedFilesViewTest, ItsKeyForCopyingIsNotTheWindows)
{
    QKeyEvent copy(QEvent::ShortcutOverride, Qt::Key_C, Qt::ControlModifier);
    QKeyEvent other(QEvent::ShortcutOverride, Qt::Key_U, Qt::ControlModifier);
    copy.ignore();
    other.ignore();

    QApplication::sendEvent(&m_view, &copy);
    QApplication::sendEvent(&m_view, &other);

    EXPECT_TRUE(copy.isAccepted());
    EXPECT_FALSE(other.isAccepted());
}

TEST_F(QueuedFilesViewTest, KeysThatMeanNothingInAListAreForWhatIsAroundIt)
{
    m_view.setFiles(numbered(2));
    for (const Qt::Key key : { Qt::Key_Space, Qt::Key_Return, Qt::Key_X }) {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, key == Qt::Key_X ? u"x"_s : u" "_s);
        press.accept();
        QApplication::sendEvent(&m_view, &press);
        EXPECT_FALSE(press.isAccepted()) << key;
    }
}

TEST_F(QueuedFilesViewTest, ALineThatIsTooNarrowIsCutInTheMiddleAndToldWhole)
{
    const QString longPath = u"/a/"_s + QString(200, u'x') + u"/b"_s;
    m_view.setFiles({ u"/short"_s, longPath });
    const auto cutAt
        = [this](int row) { return m_view.cutPathAt(m_view.visualRect(m_view.model()->index(row, 0)).center()); };

    EXPECT_TRUE(cutAt(0).isNull());
    EXPECT_EQ(cutAt(1), longPath);
    EXPECT_TRUE(m_view.cutPathAt({ 5, 95 }).isNull());
    EXPECT_EQ(m_view.horizontalScrollBar()->maximum(), 0);
}

TEST_F(QueuedFilesViewTest, ItsLinesAreSingleSpaced)
{
    m_view.setFiles(numbered(3));

    EXPECT_LE(m_view.sizeHintForRow(0), m_view.fontMetrics().height() + 4);
    EXPECT_EQ(m_view.heightOfLines(3 * m_view.sizeHintForRow(0) - 1), 2 * m_view.sizeHintForRow(0));
    EXPECT_EQ(m_view.heightOfLines(0), m_view.sizeHintForRow(0));
}

TEST_F(QueuedFilesViewTest, AScreenReaderFindsTheWholeText)
{
    m_view.setFiles({ u"/a"_s, u"/bc"_s, u"/d"_s });
    QAccessibleTextInterface& text = *accessible().textInterface();

    EXPECT_EQ(accessible().role(), QAccessible::EditableText);
    EXPECT_TRUE(accessible().state().readOnly);
    EXPECT_TRUE(accessible().state().multiLine);
    EXPECT_EQ(accessible().text(QAccessible::Value), m_view.toPlainText());
    EXPECT_EQ(text.characterCount(), m_view.toPlainText().size());
    EXPECT_EQ(text.text(0, text.characterCount()), m_view.toPlainText());
    EXPECT_EQ(text.text(7, 13), u"2) /bc"_s);
    int begin = 0;
    int end = 0;
    EXPECT_EQ(text.textAtOffset(8, QAccessible::LineBoundary, &begin, &end), u"2) /bc\n"_s);
}

TEST_F(QueuedFilesViewTest, AScreenReaderMovesAndSelectsByLines)
{
    m_view.setFiles({ u"/a"_s, u"/bc"_s, u"/d"_s });
    QAccessibleTextInterface& text = *accessible().textInterface();
    EXPECT_EQ(text.selectionCount(), 0);

    text.setCursorPosition(9);
    EXPECT_EQ(m_view.currentIndex().row(), 1);
    EXPECT_EQ(text.cursorPosition(), 7);

    text.setSelection(0, 7, 17);
    int begin = 0;
    int end = 0;
    text.selection(0, &begin, &end);
    EXPECT_EQ(text.selectionCount(), 1);
    EXPECT_EQ(begin, 7);
    EXPECT_EQ(end, m_view.toPlainText().size());
    EXPECT_EQ(m_view.selectedText(), u"2) /bc\n\n3) /d\n\n"_s);

    const QRect line = text.characterRect(9);
    EXPECT_EQ(text.offsetAtPoint(line.center()), 7);
    text.removeSelection(0);
    EXPECT_EQ(text.selectionCount(), 0);
    text.scrollToSubstring(1000, 1001);
    m_view.setFiles({});
    EXPECT_EQ(text.characterCount(), 0);
    EXPECT_EQ(text.cursorPosition(), 0);
}

TEST_F(QueuedFilesViewTest, LinesStandAtTheSideThatTheWindowsDirectionSaysAndReadAsTheirTextDoes)
{
    QFont font = m_view.font();
    font.setHintingPreference(QFont::PreferFullHinting); // Letters look alike wherever they stand.
    m_view.setFont(font);
    m_view.setFrameShape(QFrame::NoFrame);
    const auto show = [this](const QString& path, Qt::LayoutDirection direction) {
        m_view.setLayoutDirection(direction);
        m_view.setFiles({ path });
        drainEventLoop();
        m_view.selectionModel()->clear();
        return picture();
    };
    for (const QString& path : { u"/a"_s, u"/\u05d0"_s }) {
        const QImage left = show(path, Qt::LeftToRight);
        const QImage right = show(path, Qt::RightToLeft);
        EXPECT_LT(placeOfInk(left).right(), 150) << path.toStdString();
        EXPECT_GT(placeOfInk(right).left(), 150) << path.toStdString();
        EXPECT_EQ(left.copy(placeOfInk(left)), right.copy(placeOfInk(right))) << path.toStdString();
    }
}

} // namespace
