#include "DropIconsWindow.h"

#include "CheckRows.h"
#include "ElidedLabel.h"
#include "IconText.h"
#include "Sheets.h"
#include "TextTable.h"
#include "WaitFor.h"

#include <QAction>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

class DropIconsWindowTest : public ::testing::Test {
protected:
    DropIconsWindowTest()
    {
        QDir().mkpath(path(u"Desktop"_s));
        write(path(u"program"_s));
    }

    QString path(const QString& name) const { return m_folder.path() + u'/' + name; }
    QStringList files(const QString& folder) const
    {
        return QDir(path(folder)).entryList(QDir::Files | QDir::System | QDir::Hidden);
    }
    static void write(const QString& path)
    {
        QDir().mkpath(QFileInfo(path).path());
        ASSERT_TRUE(QFile(path).open(QIODevice::WriteOnly));
    }
    DropIcons icons(const QString& desktop) const
    {
        return DropIcons(path(u"program"_s),
                         { .links = path(u"copies"_s), .launchers = path(u"applications"_s), .desktop = desktop });
    }
    DropIcons icons() const { return icons(path(u"Desktop"_s)); }

    DropIconsWindow& open(const std::optional<DropIcons>& other = std::nullopt)
    {
        m_window = std::make_unique<DropIconsWindow>(
            other.value_or(icons()),
            DropIconsWindow::Application{
                .destinationFor
                = [this](const QString& file) { return m_server.isNull() ? QString() : m_server + file + u'/'; },
                .start =
                    [this](const QString& program) {
                        m_started.append(program);
                        return m_canStart;
                    } });
        m_window->show();
        m_window->activateWindow();
        EXPECT_TRUE(waitFor([this] { return m_window->isActiveWindow() && name().hasFocus(); }));
        return *m_window;
    }
    template <typename Widget> Widget& part(const char* name) const
    {
        return *m_window->findChild<Widget*>(QString::fromLatin1(name));
    }
    QLineEdit& name() const { return part<QLineEdit>("nameTextField"); }
    QPushButton& makeCopy() const { return part<QPushButton>("makeIconButton"); }
    QPushButton& removeIcon() const { return part<QPushButton>("removeIconButton"); }
    QPushButton& startIcon() const { return part<QPushButton>("startIconButton"); }
    TextTable& table() const { return part<TextTable>("iconsTable"); }
    QString explanation() const { return part<QLabel>("explanationLabel").text(); }
    QString message() const { return part<QLabel>("listMessageLabel").text(); }
    QString destination() const
    {
        const auto& label = part<ElidedLabel>("destinationLabel");
        return label.isVisible() ? label.text() : QString();
    }
    /// What the table shows, as "name location".
    QStringList rows() const
    {
        QStringList rows;
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            rows.append(table().model()->index(row, 0).data().toString() + u' '
                        + table().model()->index(row, 1).data().toString());
        }
        return rows;
    }
    int selectedRow() const
    {
        const QModelIndexList selected = table().selectionModel()->selectedRows();
        return selected.isEmpty() ? -1 : selected.first().row();
    }
    /// Makes a copy by keys.
    void makeByKeys(const QString& newName)
    {
        name().setFocus();
        QTest::keyClicks(&name(), newName);
        QTest::keyClick(&name(), Qt::Key_Return);
    }

    QTemporaryDir m_folder;
    QString m_server = u"ftp://host/in/"_s;
    QStringList m_started;
    bool m_canStart = true;
    std::unique_ptr<DropIconsWindow> m_window;
};

TEST_F(DropIconsWindowTest, ItOpensWithAnEmptyFieldAndSaysThatThereAreNoCopies)
{
    open();

    EXPECT_FALSE(m_window->isModal());
    EXPECT_EQ(explanation(), IconText::explanation(QString()));
    EXPECT_EQ(destination(), QString());
    EXPECT_EQ(table().emptyText(), u"No copies yet"_s);
    for (const QPushButton* button : { &makeCopy(), &removeIcon(), &startIcon() }) {
        EXPECT_FALSE(button->isEnabled()) << button->text().toStdString();
    }
    EXPECT_TRUE(makeCopy().isDefault());
}

TEST_F(DropIconsWindowTest, WhatANameLeadsToIsSaidWhileItIsTyped)
{
    open();
    checkRows<void(QString, QString, bool)>(
        {
            { u"Scans"_s, u"Files go to ftp://host/in/Scans/"_s, true },
            { u"A/B"_s, u"Files go to ftp://host/in/A:B/"_s, true },
            { u"Quillbox 2"_s, u"Files go to ftp://host/in/Quillbox 2/"_s, true },
            { u"Quillbox"_s, QString(), false },
            { u"a/"_s, QString(), false },
            { u"a:b"_s, QString(), false },
            { u".."_s, QString(), false },
            { QString(248, u'x'), QString(), false },
        },
        [this](const QString& typed, const QString& whereto, bool canBeMade) {
            name().setText(typed);

            EXPECT_EQ(explanation(), IconText::explanation(typed));
            EXPECT_EQ(destination(), whereto);
            EXPECT_EQ(makeCopy().isEnabled(), canBeMade);
        });
    name().clear();
    EXPECT_FALSE(makeCopy().isEnabled());
}

TEST_F(DropIconsWindowTest, WithoutAServerItSaysWhereToEnterOne)
{
    m_server = QString();
    open();

    name().setText(u"Scans"_s);

    EXPECT_EQ(destination(), u"No server yet: enter one in the preferences"_s);
    EXPECT_TRUE(makeCopy().isEnabled());
}

TEST_F(DropIconsWindowTest, ReturnMakesTheCopyAndTheFieldIsReadyForTheNextOne)
{
    open();

    makeByKeys(u"Scans"_s);

    EXPECT_EQ(files(u"copies"_s), QStringList{ u"Scans"_s });
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
    EXPECT_EQ(rows(), QStringList{ u"Scans "_s + path(u"copies/Scans"_s) });
    EXPECT_EQ(explanation(), IconText::outcome(DropIcons::Outcome::Made, false, true));
    EXPECT_EQ(name().text(), QString());
    EXPECT_TRUE(name().hasFocus());
    EXPECT_EQ(selectedRow(), 0);
    EXPECT_EQ(table().emptyText(), QString());

    makeByKeys(u"Photos/2024"_s);
    EXPECT_EQ(rows().size(), 2);
    EXPECT_TRUE(rows().constFirst().startsWith(u"Photos/2024 "_s));
    EXPECT_EQ(selectedRow(), 0);
}

TEST_F(DropIconsWindowTest, ACopyWithoutAFolderOfItsOwnCanBeMade)
{
    open();

    makeByKeys(u"Quillbox 2"_s);

    EXPECT_EQ(files(u"copies"_s), QStringList{ u"Quillbox 2"_s });
}

TEST_F(DropIconsWindowTest, ANameThatCannotBeMakesNothing)
{
    open();

    makeByKeys(u"a//b"_s);

    EXPECT_EQ(files(u"copies"_s), QStringList());
    EXPECT_EQ(explanation(), IconText::explanation(u"a//b"_s));
    EXPECT_TRUE(m_window->isVisible());
}

TEST_F(DropIconsWindowTest, TheCheckBoxPutsItOnTheDesktop)
{
    open();
    part<QCheckBox>("onDesktopCheckBox").click();

    makeByKeys(u"Scans"_s);

    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"Scans.desktop"_s });
    EXPECT_EQ(explanation(), IconText::outcome(DropIcons::Outcome::Made, true, true));
}

TEST_F(DropIconsWindowTest, WithoutADesktopThereIsNoCheckBox)
{
    open();
    EXPECT_TRUE(part<QCheckBox>("onDesktopCheckBox").isVisible());

    open(icons(QString()));
    EXPECT_FALSE(part<QCheckBox>("onDesktopCheckBox").isVisible());
}

TEST_F(DropIconsWindowTest, WhatIsThereAlreadyIsSaidBesideTheFieldUntilTheNameChanges)
{
    open();
    makeByKeys(u"Scans"_s);
    write(path(u"copies/foreign"_s));

    makeByKeys(u"Scans"_s);
    EXPECT_EQ(explanation(), u"There is a copy of that name already."_s);
    EXPECT_EQ(name().text(), u"Scans"_s);
    name().setText(u"foreign"_s);
    EXPECT_EQ(explanation(), IconText::explanation(u"foreign"_s));
    makeCopy().click();

    EXPECT_EQ(explanation(), IconText::outcome(DropIcons::Outcome::AlreadyThere, false, false));
    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_EQ(rows().size(), 1);
}

TEST_F(DropIconsWindowTest, WhatCannotBeWrittenIsSaidBesideTheField)
{
    write(path(u"applications"_s)); // Where a folder should be.
    open();

    makeByKeys(u"Scans"_s);

    EXPECT_EQ(explanation(), IconText::outcome(DropIcons::Outcome::NotWritable, false, false));
    EXPECT_EQ(name().text(), u"Scans"_s);
    EXPECT_EQ(rows(), QStringList());
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(DropIconsWindowTest, RemovingAsksFirstAndCancelKeepsTheCopy)
{
    open();
    makeByKeys(u"Scans"_s);

    table().setFocus();
    QTest::keyClick(&table(), Qt::Key_Delete);

    EXPECT_EQ(shownSheets(), QStringList{ u"Remove Copy: "_s + IconText::removalQuestion(u"Scans"_s) });
    auto* const sheet = m_window->findChild<AlertDialog*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->defaultButton()->text(), u"Cancel"_s);
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    answerSheet(u"Cancel"_s);
    EXPECT_EQ(files(u"copies"_s), QStringList{ u"Scans"_s });
    EXPECT_EQ(rows().size(), 1);
}

TEST_F(DropIconsWindowTest, ARemovedCopyIsGoneWithAllItsFilesAndTheNextOneIsSelected)
{
    open();
    part<QCheckBox>("onDesktopCheckBox").click();
    for (const QString& copy : { u"a"_s, u"b"_s, u"c"_s }) {
        makeByKeys(copy);
    }
    table().selectRow(1);

    removeIcon().click();
    answerSheet(u"Remove"_s);

    EXPECT_EQ(files(u"copies"_s), (QStringList{ u"a"_s, u"c"_s }));
    EXPECT_EQ(files(u"applications"_s).size(), 2);
    EXPECT_EQ(files(u"Desktop"_s), (QStringList{ u"a.desktop"_s, u"c.desktop"_s }));
    EXPECT_EQ(rows().size(), 2);
    EXPECT_EQ(selectedRow(), 1);
    for (int left = 1; left >= 0; --left) {
        ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
        removeIcon().click();
        answerSheet(u"Remove"_s);
        EXPECT_EQ(rows().size(), left);
    }
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
    EXPECT_FALSE(removeIcon().isEnabled());
    EXPECT_EQ(table().emptyText(), u"No copies yet"_s);
}

TEST_F(DropIconsWindowTest, ACopyThatCannotBeRemovedStaysInTheListAndTheWindowSaysSo)
{
    // The kernel's own links, which nobody can remove.
    open(DropIcons(path(u"program"_s),
                   { .links = u"/proc/self"_s, .launchers = path(u"applications"_s), .desktop = QString() }));
    const qsizetype row = rows().indexOf(u"exe /proc/self/exe"_s);
    ASSERT_GE(row, 0);
    table().selectRow(static_cast<int>(row));

    removeIcon().click();
    answerSheet(u"Remove"_s);

    EXPECT_EQ(message(), u"“exe” could not be removed."_s);
    EXPECT_EQ(selectedRow(), row);
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(DropIconsWindowTest, ACopyThatSomebodyElseHasRemovedIsJustGone)
{
    open();
    makeByKeys(u"Scans"_s);
    removeIcon().click();
    ASSERT_TRUE(icons().remove(u"Scans"_s));

    answerSheet(u"Remove"_s);

    EXPECT_EQ(rows(), QStringList());
    EXPECT_EQ(message(), QString());
}

TEST_F(DropIconsWindowTest, StartStartsTheSelectedCopyOrSaysThatItCannot)
{
    open();
    makeByKeys(u"a"_s);
    makeByKeys(u"b"_s);

    startIcon().click();
    table().selectRow(0);
    part<QAction>("startIconAction").trigger();
    EXPECT_EQ(m_started, (QStringList{ path(u"copies/b"_s), path(u"copies/a"_s) }));
    EXPECT_EQ(message(), QString());

    m_canStart = false;
    startIcon().click();
    EXPECT_EQ(message(), u"“a” could not be started."_s);
    table().selectRow(1);
    EXPECT_EQ(message(), QString());
}

TEST_F(DropIconsWindowTest, TheListIsReadAgainWhenTheWindowBecomesActiveAndTheSelectionStays)
{
    open();
    makeByKeys(u"b"_s);
    name().setText(u"new"_s);
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(waitFor([&other] { return other.isActiveWindow(); }));
    ASSERT_EQ(icons().make(u"a"_s, false), DropIcons::Outcome::Made);
    m_server = u"ftp://elsewhere/"_s;
    EXPECT_EQ(rows().size(), 1);

    m_window->activateWindow();

    EXPECT_TRUE(waitFor([this] { return rows().size() == 2; }));
    EXPECT_EQ(selectedRow(), 1);
    EXPECT_EQ(destination(), u"Files go to ftp://elsewhere/new/"_s);
    EXPECT_EQ(name().text(), u"new"_s);
}

TEST_F(DropIconsWindowTest, EscapeClosesItAndItOpensAfresh)
{
    open();
    part<QCheckBox>("onDesktopCheckBox").click();
    makeByKeys(u"Scans"_s);
    name().setText(u"half"_s);

    QTest::keyClick(&name(), Qt::Key_Escape);
    EXPECT_FALSE(m_window->isVisible());
    m_window->show();

    EXPECT_EQ(name().text(), QString());
    EXPECT_FALSE(part<QCheckBox>("onDesktopCheckBox").isChecked());
    EXPECT_EQ(explanation(), IconText::explanation(QString()));
    EXPECT_EQ(selectedRow(), -1);
    EXPECT_EQ(rows().size(), 1);
}

TEST_F(DropIconsWindowTest, AVeryLongNameDoesNotWidenTheWindow)
{
    open();
    const int width = m_window->width();

    makeByKeys(QString(247, u'x'));
    name().setText(QString(247, u'x'));
    QCoreApplication::processEvents();

    EXPECT_EQ(m_window->width(), width);
    EXPECT_LE(m_window->minimumSizeHint().width(), width);
}

} // namespace
