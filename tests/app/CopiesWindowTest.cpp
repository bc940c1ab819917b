#include "CopiesWindow.h"

#include "CheckRows.h"
#include "CopyText.h"
#include "ElidedLabel.h"
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

class CopiesWindowTest : public ::testing::Test {
protected:
    CopiesWindowTest()
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
    ProgramCopies copies(const QString& desktop) const
    {
        return ProgramCopies(path(u"program"_s),
                             { .links = path(u"copies"_s), .launchers = path(u"applications"_s), .desktop = desktop });
    }
    ProgramCopies copies() const { return copies(path(u"Desktop"_s)); }

    CopiesWindow& open(const std::optional<ProgramCopies>& other = std::nullopt)
    {
        m_window = std::make_unique<CopiesWindow>(
            other.value_or(copies()),
            CopiesWindow::Application{
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
    QPushButton& makeCopy() const { return part<QPushButton>("makeCopyButton"); }
    QPushButton& removeCopy() const { return part<QPushButton>("removeCopyButton"); }
    QPushButton& startCopy() const { return part<QPushButton>("startCopyButton"); }
    TextTable& table() const { return part<TextTable>("copiesTable"); }
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
    std::unique_ptr<CopiesWindow> m_window;
};

TEST_F(CopiesWindowTest, ItOpensWithAnEmptyFieldAndSaysThatThereAreNoCopies)
{
    open();

    EXPECT_FALSE(m_window->isModal());
    EXPECT_EQ(explanation(), CopyText::explanation(QString()));
    EXPECT_EQ(destination(), QString());
    EXPECT_EQ(table().emptyText(), u"No copies yet"_s);
    for (const QPushButton* button : { &makeCopy(), &removeCopy(), &startCopy() }) {
        EXPECT_FALSE(button->isEnabled()) << button->text().toStdString();
    }
    EXPECT_TRUE(makeCopy().isDefault());
}

TEST_F(CopiesWindowTest, WhatANameLeadsToIsSaidWhileItIsTyped)
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

            EXPECT_EQ(explanation(), CopyText::explanation(typed));
            EXPECT_EQ(destination(), whereto);
            EXPECT_EQ(makeCopy().isEnabled(), canBeMade);
        });
    name().clear();
    EXPECT_FALSE(makeCopy().isEnabled());
}

TEST_F(CopiesWindowTest, WithoutAServerItSaysWhereToEnterOne)
{
    m_server = QString();
    open();

    name().setText(u"Scans"_s);

    EXPECT_EQ(destination(), u"No server yet: enter one in the preferences"_s);
    EXPECT_TRUE(makeCopy().isEnabled());
}

TEST_F(CopiesWindowTest, ReturnMakesTheCopyAndTheFieldIsReadyForTheNextOne)
{
    open();

    makeByKeys(u"Scans"_s);

    EXPECT_EQ(files(u"copies"_s), QStringList{ u"Scans"_s });
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
    EXPECT_EQ(rows(), QStringList{ u"Scans "_s + path(u"copies/Scans"_s) });
    EXPECT_EQ(explanation(), CopyText::outcome(ProgramCopies::Outcome::Made, false, true));
    EXPECT_EQ(name().text(), QString());
    EXPECT_TRUE(name().hasFocus());
    EXPECT_EQ(selectedRow(), 0);
    EXPECT_EQ(table().emptyText(), QString());

    makeByKeys(u"Photos/2024"_s);
    EXPECT_EQ(rows().size(), 2);
    EXPECT_TRUE(rows().constFirst().startsWith(u"Photos/2024 "_s));
    EXPECT_EQ(selectedRow(), 0);
}

TEST_F(CopiesWindowTest, ACopyWithoutAFolderOfItsOwnCanBeMade)
{
    open();

    makeByKeys(u"Quillbox 2"_s);

    EXPECT_EQ(files(u"copies"_s), QStringList{ u"Quillbox 2"_s });
}

TEST_F(CopiesWindowTest, ANameThatCannotBeMakesNothing)
{
    open();

    makeByKeys(u"a//b"_s);

    EXPECT_EQ(files(u"copies"_s), QStringList());
    EXPECT_EQ(explanation(), CopyText::explanation(u"a//b"_s));
    EXPECT_TRUE(m_window->isVisible());
}

TEST_F(CopiesWindowTest, TheCheckBoxPutsItOnTheDesktop)
{
    open();
    part<QCheckBox>("onDesktopCheckBox").click();

    makeByKeys(u"Scans"_s);

    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"Scans.desktop"_s });
    EXPECT_EQ(explanation(), CopyText::outcome(ProgramCopies::Outcome::Made, true, true));
}

TEST_F(CopiesWindowTest, WithoutADesktopThereIsNoCheckBox)
{
    open();
    EXPECT_TRUE(part<QCheckBox>("onDesktopCheckBox").isVisible());

    open(copies(QString()));
    EXPECT_FALSE(part<QCheckBox>("onDesktopCheckBox").isVisible());
}

TEST_F(CopiesWindowTest, WhatIsThereAlreadyIsSaidBesideTheFieldUntilTheNameChanges)
{
    open();
    makeByKeys(u"Scans"_s);
    write(path(u"copies/foreign"_s));

    makeByKeys(u"Scans"_s);
    EXPECT_EQ(explanation(), u"There is a copy of that name already."_s);
    EXPECT_EQ(name().text(), u"Scans"_s);
    name().setText(u"foreign"_s);
    EXPECT_EQ(explanation(), CopyText::explanation(u"foreign"_s));
    makeCopy().click();

    EXPECT_EQ(explanation(), CopyText::outcome(ProgramCopies::Outcome::AlreadyThere, false, false));
    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_EQ(rows().size(), 1);
}

TEST_F(CopiesWindowTest, WhatCannotBeWrittenIsSaidBesideTheField)
{
    write(path(u"applications"_s)); // Where a folder should be.
    open();

    makeByKeys(u"Scans"_s);

    EXPECT_EQ(explanation(), CopyText::outcome(ProgramCopies::Outcome::NotWritable, false, false));
    EXPECT_EQ(name().text(), u"Scans"_s);
    EXPECT_EQ(rows(), QStringList());
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(CopiesWindowTest, RemovingAsksFirstAndCancelKeepsTheCopy)
{
    open();
    makeByKeys(u"Scans"_s);

    table().setFocus();
    QTest::keyClick(&table(), Qt::Key_Delete);

    EXPECT_EQ(shownSheets(), QStringList{ u"Remove Copy: "_s + CopyText::removalQuestion(u"Scans"_s) });
    auto* const sheet = m_window->findChild<AlertDialog*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->defaultButton()->text(), u"Cancel"_s);
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    answerSheet(u"Cancel"_s);
    EXPECT_EQ(files(u"copies"_s), QStringList{ u"Scans"_s });
    EXPECT_EQ(rows().size(), 1);
}

TEST_F(CopiesWindowTest, ARemovedCopyIsGoneWithAllItsFilesAndTheNextOneIsSelected)
{
    open();
    part<QCheckBox>("onDesktopCheckBox").click();
    for (const QString& copy : { u"a"_s, u"b"_s, u"c"_s }) {
        makeByKeys(copy);
    }
    table().selectRow(1);

    removeCopy().click();
    answerSheet(u"Remove"_s);

    EXPECT_EQ(files(u"copies"_s), (QStringList{ u"a"_s, u"c"_s }));
    EXPECT_EQ(files(u"applications"_s).size(), 2);
    EXPECT_EQ(files(u"Desktop"_s), (QStringList{ u"a.desktop"_s, u"c.desktop"_s }));
    EXPECT_EQ(rows().size(), 2);
    EXPECT_EQ(selectedRow(), 1);
    for (int left = 1; left >= 0; --left) {
        ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
        removeCopy().click();
        answerSheet(u"Remove"_s);
        EXPECT_EQ(rows().size(), left);
    }
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
    EXPECT_FALSE(removeCopy().isEnabled());
    EXPECT_EQ(table().emptyText(), u"No copies yet"_s);
}

TEST_F(CopiesWindowTest, ACopyThatCannotBeRemovedStaysInTheListAndTheWindowSaysSo)
{
    // The kernel's own links, which nobody can remove.
    open(ProgramCopies(path(u"program"_s),
                       { .links = u"/proc/self"_s, .launchers = path(u"applications"_s), .desktop = QString() }));
    const qsizetype row = rows().indexOf(u"exe /proc/self/exe"_s);
    ASSERT_GE(row, 0);
    table().selectRow(static_cast<int>(row));

    removeCopy().click();
    answerSheet(u"Remove"_s);

    EXPECT_EQ(message(), u"“exe” could not be removed."_s);
    EXPECT_EQ(selectedRow(), row);
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(CopiesWindowTest, ACopyThatSomebodyElseHasRemovedIsJustGone)
{
    open();
    makeByKeys(u"Scans"_s);
    removeCopy().click();
    ASSERT_TRUE(copies().remove(u"Scans"_s));

    answerSheet(u"Remove"_s);

    EXPECT_EQ(rows(), QStringList());
    EXPECT_EQ(message(), QString());
}

TEST_F(CopiesWindowTest, StartStartsTheSelectedCopyOrSaysThatItCannot)
{
    open();
    makeByKeys(u"a"_s);
    makeByKeys(u"b"_s);

    startCopy().click();
    table().selectRow(0);
    part<QAction>("startCopyAction").trigger();
    EXPECT_EQ(m_started, (QStringList{ path(u"copies/b"_s), path(u"copies/a"_s) }));
    EXPECT_EQ(message(), QString());

    m_canStart = false;
    startCopy().click();
    EXPECT_EQ(message(), u"“a” could not be started."_s);
    table().selectRow(1);
    EXPECT_EQ(message(), QString());
}

TEST_F(CopiesWindowTest, TheListIsReadAgainWhenTheWindowBecomesActiveAndTheSelectionStays)
{
    open();
    makeByKeys(u"b"_s);
    name().setText(u"new"_s);
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(waitFor([&other] { return other.isActiveWindow(); }));
    ASSERT_EQ(copies().make(u"a"_s, false), ProgramCopies::Outcome::Made);
    m_server = u"ftp://elsewhere/"_s;
    EXPECT_EQ(rows().size(), 1);

    m_window->activateWindow();

    EXPECT_TRUE(waitFor([this] { return rows().size() == 2; }));
    EXPECT_EQ(selectedRow(), 1);
    EXPECT_EQ(destination(), u"Files go to ftp://elsewhere/new/"_s);
    EXPECT_EQ(name().text(), u"new"_s);
}

TEST_F(CopiesWindowTest, EscapeClosesItAndItOpensAfresh)
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
    EXPECT_EQ(explanation(), CopyText::explanation(QString()));
    EXPECT_EQ(selectedRow(), -1);
    EXPECT_EQ(rows().size(), 1);
}

TEST_F(CopiesWindowTest, AVeryLongNameDoesNotWidenTheWindow)
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
