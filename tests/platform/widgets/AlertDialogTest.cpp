#include "AlertDialog.h"

#include "IconLabel.h"
#include "Printers.h"
#include "ScreenRoom.h"
#include "SheetDetail.h"
#include "SheetListView.h"
#include "WaitFor.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

class AlertDialogTest : public testing::Test {
protected:
    void show(const QString& title, const QString& text, const QList<SheetDetail>& details = {})
    {
        m_alert = std::make_unique<AlertDialog>(title, text);
        if (!details.isEmpty()) {
            m_alert->addDetails(details);
        }
        m_alert->show();
        drainEventLoop();
    }
    /// Shows an alert with a list of lines "line 0" and so on; answers the list.
    SheetListView& showList(int count)
    {
        m_alert = std::make_unique<AlertDialog>(u"title"_s, u"text"_s);
        m_alert->addList({ .name = u"Files"_s, .count = count, .line = [this](int row) {
                              ++m_linesMade;
                              return u"line %1"_s.arg(row);
                          } });
        m_alert->show();
        drainEventLoop();
        return *m_alert->findChild<SheetListView*>();
    }
    /// The label that screen readers read @p text from.
    QLabel& label(const QString& text) const
    {
        for (QLabel* label : m_alert->findChildren<QLabel*>()) {
            if (QAccessible::queryAccessibleInterface(label)->text(QAccessible::Name) == text) {
                return *label;
            }
        }
        throw std::runtime_error("no such label");
    }
    QRect placeOf(const QWidget& widget) const { return { widget.mapTo(m_alert.get(), QPoint()), widget.size() }; }

    std::unique_ptr<AlertDialog> m_alert;
    int m_linesMade = 0;
};

TEST_F(AlertDialogTest, TheTitleIsBoldAboveTheTextAndIsTheCaption)
{
    show(u"Item Not Deleted"_s, u"It is not empty."_s);

    EXPECT_TRUE(label(u"Item Not Deleted"_s).font().bold());
    EXPECT_FALSE(label(u"It is not empty."_s).font().bold());
    EXPECT_LT(placeOf(label(u"Item Not Deleted"_s)).bottom(), placeOf(label(u"It is not empty."_s)).top());
    EXPECT_EQ(m_alert->windowTitle(), u"Item Not Deleted"_s);
    EXPECT_EQ(m_alert->title(), u"Item Not Deleted"_s);
    EXPECT_EQ(m_alert->text(), u"It is not empty."_s);
}

TEST_F(AlertDialogTest, AShortTextHasRoomForThreeHundredAndTwentyPixels)
{
    show(u"No"_s, u"No."_s);

    EXPECT_GE(label(u"No."_s).width(), 320);
}

TEST_F(AlertDialogTest, ALongTextIsBrokenIntoLinesThatAreGoodToRead)
{
    const QString text = u"word "_s.repeated(200);
    show(u"one"_s, text);

    EXPECT_LT(label(text).width(), 80 * m_alert->fontMetrics().averageCharWidth());
    EXPECT_GE(label(text).height(), label(text).heightForWidth(label(text).width()));
}

TEST_F(AlertDialogTest, AWordThatIsLongerThanALineIsBrokenAndReadAsItIs)
{
    const QString text = u"before "_s + QString(300, u'w') + u" behind\n\nthat"_s;

    show(QString(100, u'n'), text);

    const QLabel& shown = label(text);
    EXPECT_EQ(shown.text().remove(u'\u200b'), text);
    EXPECT_LE(shown.minimumSizeHint().width(), shown.width());
    EXPECT_LE(m_alert->width(), 100 * m_alert->fontMetrics().averageCharWidth());
}

TEST_F(AlertDialogTest, ATextWithoutEndIsScrolledAndTheButtonsStayInSight)
{
    show(u"one"_s, QString(40'000, u'w'));

    EXPECT_LT(m_alert->height(), 40 * m_alert->fontMetrics().lineSpacing());
    EXPECT_NE(m_alert->findChild<QScrollArea*>(), nullptr);
    show(u"one"_s, u"short"_s);
    EXPECT_EQ(m_alert->findChild<QScrollArea*>(), nullptr);
}

TEST_F(AlertDialogTest, ALargeFontMakesNoAlertLargerThanItsScreen)
{
    const QFont usual = QApplication::font();
    const auto restore = qScopeGuard([&usual] { QApplication::setFont(usual); });
    const QString code = u"2B:64:E4:A8:90:BB:6D:79:34:0D:1D:8E:86:87:FF:6C\n23:8D"_s;
    for (const double points : { 18.0, 32.0 }) {
        QFont font = usual;
        font.setPointSizeF(points);
        QApplication::setFont(font);
        for (const QList<SheetDetail>& details :
             { QList<SheetDetail>(), QList<SheetDetail>(8, { u"Fingerprint"_s, code, true }) }) {
            for (const int words : { 5, 40, 400 }) {
                show(u"Item Not Deleted"_s, u"something "_s.repeated(words), details);

                const QSize room = roomOnScreen(*m_alert);
                EXPECT_EQ(m_alert->size().boundedTo(room), m_alert->size()) << points << ' ' << words;
                EXPECT_TRUE(m_alert->rect().contains(placeOf(*m_alert->defaultButton()))) << points << ' ' << words;
                EXPECT_TRUE(m_alert->defaultButton()->hasFocus());
            }
        }
    }
}

TEST_F(AlertDialogTest, NothingIsTakenAsMarkup)
{
    show(u"<b>bold</b>"_s, u"<img src='x'>"_s, { { u"<i>name"_s, u"<u>value"_s }, { u"code"_s, u"<p>"_s, true } });

    for (const QLabel* label : m_alert->findChildren<QLabel*>()) {
        EXPECT_TRUE(label->text().isEmpty() || label->textFormat() == Qt::PlainText) << label->text().toStdString();
    }
}

TEST_F(AlertDialogTest, CodesAreShownWholeBetweenTextAndButtonsWhateverStandsBesideThem)
{
    const QString code = u"2B:64:E4:A8:90:BB:6D:79:34:0D:1D:8E:86:87:FF:6C\n23:8D"_s;
    show(u"Sure?"_s, u"text"_s, { { u"Name"_s, QString(5000, u'w') }, { u"Code"_s, code, true } });

    const QLabel& shown = label(code);
    EXPECT_EQ(shown.accessibleDescription(), u"Code"_s);
    EXPECT_GE(shown.width(), shown.sizeHint().width());
    EXPECT_GE(shown.height(), shown.sizeHint().height());
    EXPECT_TRUE(m_alert->rect().contains(placeOf(shown)));
    EXPECT_GT(placeOf(shown).top(), placeOf(label(u"text"_s)).bottom());
    EXPECT_LT(placeOf(shown).bottom(), placeOf(*m_alert->defaultButton()).top());
}

TEST_F(AlertDialogTest, AListHasRoomForAFewLinesAndScrollsMore)
{
    const int one = showList(1).height();
    const SheetListView& few = showList(3);
    EXPECT_LT(one, few.height());
    EXPECT_FALSE(few.verticalScrollBar()->isVisible());
    EXPECT_EQ(few.indexAt(QPoint(1, few.viewport()->height() - 1)).row(), 2);

    const SheetListView& many = showList(300);
    const int height = many.height();
    EXPECT_TRUE(many.verticalScrollBar()->isVisible());
    EXPECT_LE(height, roomOnScreen(*m_alert).height() / 2);
    m_linesMade = 0;
    EXPECT_EQ(showList(100'000).height(), height);
    EXPECT_LT(m_linesMade, 100);
}

TEST_F(AlertDialogTest, AListMakesItAsWideAsIsGoodToRead)
{
    const auto width = [this](const QString& line) {
        m_alert = std::make_unique<AlertDialog>(u"title"_s, u"text"_s);
        m_alert->addList({ .count = 1, .line = [line](int /*row*/) { return line; } });
        m_alert->show();
        drainEventLoop();
        const QListView& list = *m_alert->findChild<QListView*>();
        EXPECT_EQ(placeOf(label(u"text"_s)).left(), placeOf(list).left());
        return list.width();
    };
    const QString sixty = u"x"_s.repeated(60);
    const int narrow = width(u"x"_s);
    EXPECT_LT(narrow, width(sixty));
    EXPECT_GE(width(sixty), m_alert->fontMetrics().horizontalAdvance(sixty));
    EXPECT_LT(width(sixty.repeated(4)), 2 * width(sixty));
}

TEST_F(AlertDialogTest, AListIsGoneThroughWithTheKeyboardWhichAnswersAsElsewhere)
{
    SheetListView& list = showList(300);
    EXPECT_EQ(m_alert->focusWidget(), m_alert->defaultButton());
    QTest::keyClick(m_alert.get(), Qt::Key_Tab);
    EXPECT_EQ(m_alert->focusWidget(), &list);
    EXPECT_EQ(list.currentIndex().row(), 0);
    m_linesMade = 0;
    QTest::keyClick(&list, Qt::Key_X);
    EXPECT_EQ(m_linesMade, 0);

    QTest::keyClick(&list, Qt::Key_End);
    EXPECT_EQ(list.currentIndex().row(), 299);
    EXPECT_TRUE(list.viewport()->rect().contains(list.visualRect(list.currentIndex())));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&list)->text(QAccessible::Name), u"Files"_s);

    m_alert->setResult(QDialog::Accepted);
    QTest::keyClick(&list, Qt::Key_Return);
    EXPECT_FALSE(m_alert->isVisible());
    EXPECT_EQ(m_alert->result(), QDialog::Rejected);
}

TEST_F(AlertDialogTest, ReturnAndEscapeAreTheDefaultButtonAndTheOtherOneIsAcceptance)
{
    for (const Qt::Key key : { Qt::Key_Return, Qt::Key_Escape }) {
        show(u"Sure?"_s, u"text"_s);
        m_alert->addAlternateButton(u"Delete"_s);
        m_alert->setResult(QDialog::Accepted);
        QTest::keyClick(m_alert.get(), key);
        EXPECT_FALSE(m_alert->isVisible());
        EXPECT_EQ(m_alert->result(), QDialog::Rejected);
    }

    show(u"Sure?"_s, u"text"_s);
    m_alert->addAlternateButton(u"Delete"_s);
    EXPECT_TRUE(m_alert->defaultButton()->isDefault());
    EXPECT_EQ(m_alert->focusWidget(), m_alert->defaultButton());
    ASSERT_EQ(m_alert->buttons().size(), 2);
    for (QAbstractButton* button : m_alert->buttons()) {
        if (button->text() == u"Delete"_s) {
            button->click();
        }
    }
    EXPECT_EQ(m_alert->result(), QDialog::Accepted);
}

TEST_F(AlertDialogTest, ScreenReadersMeetAnAlertOfThatName)
{
    show(u"Sure?"_s, u"text"_s);

    const QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(m_alert.get());

    EXPECT_EQ(accessible->role(), QAccessible::AlertMessage);
    EXPECT_EQ(accessible->text(QAccessible::Name), u"Sure?"_s);
}

TEST_F(AlertDialogTest, ItsTextCanBeCopied)
{
    show(u"Sure?"_s, u"The text."_s);

    QTest::keyClick(m_alert.get(), Qt::Key_C, Qt::ControlModifier);

    EXPECT_EQ(QApplication::clipboard()->text(), u"Sure?\n\nThe text."_s);
}

TEST_F(AlertDialogTest, EachStyleHasAnIconOfItsOwn)
{
    const auto iconKey = [this] { return m_alert->findChild<IconLabel*>()->icon().pixmap(32).toImage(); };
    show(u"one"_s, u"text"_s);
    EXPECT_EQ(m_alert->alertStyle(), AlertDialog::Style::Warning);
    const QImage warning = iconKey();

    m_alert->setAlertStyle(AlertDialog::Style::Critical);

    EXPECT_EQ(m_alert->alertStyle(), AlertDialog::Style::Critical);
    EXPECT_NE(iconKey(), warning);
}

} // namespace
