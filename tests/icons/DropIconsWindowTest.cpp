#include "DropIconsWindow.h"

#include "CheckRows.h"
#include "DateText.h"
#include "ElidedLabel.h"
#include "IconSettings.h"
#include "IconText.h"
#include "SettingNames.h"
#include "Sheets.h"
#include "TemporaryHome.h"
#include "TextTable.h"
#include "UserDefaults.h"
#include "WaitFor.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

using Times = DropIconsWindow::LastUploads::value_type;

class DropIconsWindowTest : public ::testing::Test {
protected:
    DropIconsWindowTest()
    {
        QDir().mkpath(path(u"Desktop"_s));
        write(path(u"program"_s));
        EXPECT_TRUE(UserDefaults::standard().store({ { SettingNames::address, u"host"_s } }));
    }
    ~DropIconsWindowTest() override { EXPECT_TRUE(UserDefaults::standard().store({ { SettingNames::address, {} } })); }

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
        DropIcons::Folders folders = DropIcons::Folders::below(m_folder.path());
        folders.desktop = desktop;
        return DropIcons(path(u"program"_s), folders);
    }
    DropIcons icons() const { return icons(path(u"Desktop"_s)); }
    static DropIcons::Wish withServer(const QString& name)
    {
        return { .name = name,
                 .sort = IconSort::OwnServer,
                 .server = QJsonObject{ { SettingNames::address, u"other"_s }, { SettingNames::ftpFolder, u"in"_s } } };
    }

    DropIconsWindow& open(const std::optional<DropIcons>& other = std::nullopt)
    {
        m_window = std::make_unique<DropIconsWindow>(
            other.value_or(icons()),
            DropIconsWindow::Application{
                .forms = { .server = { .destinationFor =
                                           [](const QString& address, const QString& folder) {
                                               return address.isEmpty() ? QString()
                                                                        : u"ftp://"_s + address + u'/' + folder;
                                           } },
                           .askWhetherRuns =
                               [this](const QString& file, QObject*, const auto& answer) {
                                   answer(m_hasBus ? std::optional(m_running.contains(file)) : std::nullopt);
                               } },
                .start =
                    [this](const QStringList& words) {
                        m_started.append(words.join(u' '));
                        return m_canStart;
                    },
                .askForLastUploads = [this](QObject*, const auto& answer) { answer(m_lastUploads); } });
        m_window->show();
        m_window->activateWindow();
        EXPECT_TRUE(waitFor([this] { return m_window->isActiveWindow() && table().hasFocus(); }));
        return *m_window;
    }
    DropIconForm* form() const { return m_window->findChild<DropIconForm*>(); }
    template <typename Widget> Widget& part(const char* name) const
    {
        return *m_window->findChild<Widget*>(QString::fromLatin1(name));
    }
    void press(const char* name) const { part<QPushButton>(name).click(); }
    QLineEdit& name() const { return part<QLineEdit>("nameTextField"); }
    QPushButton& save() const { return part<QPushButton>("saveIconButton"); }
    TextTable& table() const { return part<TextTable>("iconsTable"); }
    QString failure() const { return part<QLabel>("failureLabel").text(); }
    QString message() const { return part<QLabel>("listMessageLabel").text(); }
    QString destination() const
    {
        const auto& label = part<ElidedLabel>("destinationLabel");
        return label.isVisible() ? label.text() : QString();
    }
    /// What the table shows, with "|" between the columns.
    QStringList rows() const
    {
        QStringList rows;
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < table().model()->columnCount(); ++column) {
                cells.append(table().model()->index(row, column).data().toString());
            }
            rows.append(cells.join(u'|'));
        }
        return rows;
    }
    int selectedRow() const
    {
        const QModelIndexList selected = table().selectionModel()->selectedRows();
        return selected.isEmpty() ? -1 : selected.first().row();
    }
    /// Opens the form for another icon, and types its name.
    void beginNew(const QString& newName)
    {
        press("newIconButton");
        EXPECT_TRUE(waitFor([this] { return form() != nullptr && form()->isActiveWindow(); }));
        QTest::keyClicks(&name(), newName);
    }
    void make(const QString& newName)
    {
        beginNew(newName);
        QTest::keyClick(&name(), Qt::Key_Return);
        EXPECT_TRUE(waitFor([this] { return form() == nullptr; }));
    }
    void beginEdit(int row)
    {
        table().selectRow(row);
        press("editIconButton");
        EXPECT_TRUE(waitFor([this] { return form() != nullptr && form()->isActiveWindow(); }));
    }
    /// Likewise of one whose settings are damaged, which is said at once.
    void beginEditOfDamaged(const QString& alert)
    {
        table().selectRow(0);
        press("editIconButton");
        ASSERT_TRUE(waitFor([] { return !shownSheets().isEmpty(); }));
        EXPECT_TRUE(shownSheets().constFirst().contains(alert)) << shownSheets().constFirst().toStdString();
        answerSheet(u"OK"_s);
    }
    void saveForm()
    {
        save().click();
        EXPECT_TRUE(waitFor([this] { return form() == nullptr; })) << failure().toStdString();
    }

    TemporaryHome m_home;
    QTemporaryDir m_folder;
    QStringList m_running;
    bool m_hasBus = true;
    QStringList m_started;
    DropIconsWindow::LastUploads m_lastUploads = Times();
    bool m_canStart = true;
    std::unique_ptr<DropIconsWindow> m_window;
};

TEST_F(DropIconsWindowTest, ItSaysThatThereAreNoIcons)
{
    open();

    EXPECT_FALSE(m_window->isModal());
    EXPECT_EQ(table().emptyText(), u"No drop icons yet"_s);
    for (const char* button : { "editIconButton", "removeIconButton", "startIconButton" }) {
        EXPECT_FALSE(part<QPushButton>(button).isEnabled()) << button;
    }
}

TEST_F(DropIconsWindowTest, EachIconIsListedWithItsDestinationAndItsLastUpload)
{
    ASSERT_EQ(icons().make({ .name = u"Scans"_s }), DropIcons::Outcome::Made);
    ASSERT_EQ(icons().make(withServer(u"A/B"_s)), DropIcons::Outcome::Made);
    ASSERT_EQ(icons().make(withServer(u"damaged"_s)), DropIcons::Outcome::Made);
    QFile settings(IconSettings::filePath(u"damaged"_s));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly | QIODevice::Truncate));
    const QDateTime moment = QDateTime::currentDateTime();
    const qint64 later = moment.addDays(1).toMSecsSinceEpoch();
    m_lastUploads = Times{ { { u"A:B"_s, u"ftp://other/in/"_s }, moment.toMSecsSinceEpoch() },
                           { { u"A:B"_s, u"ftp://formerly/"_s }, later },
                           { { u"Scans"_s, u"ftp://formerly/"_s }, later } };

    open();

    EXPECT_EQ(rows(),
              (QStringList{ u"A/B|ftp://other/in/|"_s + shortDateShortTimeText(moment),
                            u"damaged|Nowhere: its settings cannot be read|None known"_s,
                            u"Scans|ftp://host/Scans/|None known"_s }));
    EXPECT_EQ(table().emptyText(), QString());
}

TEST_F(DropIconsWindowTest, DestinationsAreShownAsPeopleReadThemUnlessThatWouldHideSomething)
{
    for (const QString& name : { u"Été 100%"_s, u"a\u202Eb"_s }) {
        ASSERT_EQ(icons().make({ .name = name }), DropIcons::Outcome::Made);
    }
    const QDateTime moment = QDateTime::currentDateTime();
    m_lastUploads = Times{ { { u"Été 100%"_s, u"ftp://host/%C3%89t%C3%A9%20100%25/"_s }, moment.toMSecsSinceEpoch() } };

    open();

    EXPECT_EQ(rows(),
              (QStringList{ u"a⟨U+202E⟩b|ftp://host/a%E2%80%AEb/|None known"_s,
                            u"Été 100%|ftp://host/Été 100%/|"_s + shortDateShortTimeText(moment) }));
}

TEST_F(DropIconsWindowTest, TheFormOfSettingsThatCannotBeReadSaysSoAndKeepsThePasswordEncrypted)
{
    ASSERT_EQ(icons().make(withServer(u"a"_s)), DropIcons::Outcome::Made);
    QFile settings(IconSettings::filePath(u"a"_s));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    ASSERT_GT(settings.write(R"({ "Encryption": "required", "Address": )"), 0);
    settings.close();
    open();

    beginEditOfDamaged(u"Settings Not Readable"_s);
    EXPECT_TRUE(part<QRadioButton>("requiredEncryptionButton").isChecked());
    part<QLineEdit>("addressTextField").setText(u"another"_s);
    saveForm();

    const UserDefaults stored(IconSettings::filePath(u"a"_s));
    EXPECT_EQ(stored.string(SettingNames::address), u"another"_s);
    EXPECT_EQ(stored.string(SettingNames::encryption), u"required"_s);
}

TEST_F(DropIconsWindowTest, WhereTheHistoryCannotBeReadNoUploadIsKnown)
{
    ASSERT_EQ(icons().make({ .name = u"Scans"_s }), DropIcons::Outcome::Made);
    m_lastUploads.reset();

    open();

    EXPECT_EQ(rows(), QStringList{ u"Scans|ftp://host/Scans/|Not known"_s });
}

TEST_F(DropIconsWindowTest, WhatANameLeadsToIsSaidWhileItIsTyped)
{
    open();
    beginNew(QString());
    EXPECT_TRUE(save().isDefault());
    EXPECT_FALSE(save().isEnabled());
    checkRows<void(QString, QString, bool)>(
        {
            { u"Scans"_s, u"Files go to ftp://host/Scans/"_s, true },
            { u"A/B"_s, u"Files go to ftp://host/A/B/"_s, true },
            { u"Été 100%"_s, u"Files go to ftp://host/Été 100%/"_s, true },
            { u"Quillbox 2"_s, u"Files go to ftp://host/"_s, true },
            { u"Quillbox"_s, QString(), false },
            { u"a/"_s, QString(), false },
            { QString(248, u'x'), QString(), false },
        },
        [this](const QString& typed, const QString& whereto, bool canBeMade) {
            name().setText(typed);

            EXPECT_EQ(part<QLabel>("explanationLabel").text(), IconText::explanation(typed, IconSort::SubFolder));
            EXPECT_EQ(destination(), whereto);
            EXPECT_EQ(save().isEnabled(), canBeMade);
        });
}

TEST_F(DropIconsWindowTest, WithoutAServerItSaysWhereToEnterOne)
{
    EXPECT_TRUE(UserDefaults::standard().store({ { SettingNames::address, {} } }));
    open();

    beginNew(u"Scans"_s);

    EXPECT_EQ(destination(), u"No server yet: enter one in Quillbox’s own preferences"_s);
    EXPECT_TRUE(save().isEnabled());
}

TEST_F(DropIconsWindowTest, WhereTheMainSettingsCannotBeReadTheFormSaysSo)
{
    const QString settings = UserDefaults::standard().filePath();
    write(settings);
    open();

    beginNew(u"Scans"_s);

    EXPECT_EQ(destination(), u"Files go nowhere: the main settings cannot be read"_s);
    EXPECT_TRUE(QFile::remove(settings));
}

TEST_F(DropIconsWindowTest, ReturnMakesTheIconAndTheListSelectsIt)
{
    open();

    make(u"Scans"_s);

    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList{ u"Scans"_s });
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
    EXPECT_EQ(rows(), QStringList{ u"Scans|ftp://host/Scans/|None known"_s });
    EXPECT_EQ(message(), IconText::made(false));
    EXPECT_EQ(selectedRow(), 0);

    make(u"Photos/2024"_s);
    EXPECT_EQ(rows().size(), 2);
    EXPECT_EQ(selectedRow(), 0);
}

TEST_F(DropIconsWindowTest, ItSelectsItAlsoWhereOneReadsFromRightToLeft)
{
    open().setLayoutDirection(Qt::RightToLeft);

    make(u"One"_s);
    make(u"Two"_s);

    EXPECT_EQ(selectedRow(), 1);
    EXPECT_TRUE(part<QPushButton>("editIconButton").isEnabled());
}

TEST_F(DropIconsWindowTest, ANameThatCannotBeMakesNothing)
{
    open();

    beginNew(u"a//b"_s);
    QTest::keyClick(&name(), Qt::Key_Return);

    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList());
    EXPECT_TRUE(form()->isVisible());
}

TEST_F(DropIconsWindowTest, AnIconIsMadeWithAPictureOnTheDesktop)
{
    open();
    beginNew(u"Scans"_s);
    part<QCheckBox>("onDesktopCheckBox").click();
    part<QComboBox>("colourBox").setCurrentText(u"Green"_s);
    part<QLineEdit>("lettersTextField").setText(u"Sc"_s);
    saveForm();

    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"Scans.desktop"_s });
    EXPECT_EQ(message(), IconText::made(true));
    const DropIcons::Icon icon = icons().icons().constFirst();
    EXPECT_EQ(icon.picture, (IconPicture{ .colour = u"#26a269"_s, .letters = u"Sc"_s }));

    beginEdit(0);
    EXPECT_TRUE(part<QCheckBox>("onDesktopCheckBox").isChecked());
    EXPECT_EQ(part<QComboBox>("colourBox").currentText(), u"Green"_s);
    EXPECT_EQ(part<QLineEdit>("lettersTextField").text(), u"Sc"_s);
}

TEST_F(DropIconsWindowTest, APictureHasTwoLettersWithTheirAccentsAndNoneIsCut)
{
    open();
    beginNew(u"Scans"_s);
    auto& letters = part<QLineEdit>("lettersTextField");
    checkRows<QString(QString)>(
        {
            { u"abc"_s, u"ab"_s },
            { u"e\u0301o\u0308x"_s, u"e\u0301o\u0308"_s },
            { u"\U0001F469\u200d\U0001F680x"_s, u"\U0001F469\u200d\U0001F680x"_s },
            { u"a\U0001F600b"_s, u"a\U0001F600"_s },
        },
        [&letters](const QString& typed) {
            letters.clear();
            letters.insert(typed);
            return letters.text();
        });
    saveForm();

    EXPECT_EQ(icons().icons().constFirst().picture.letters, u"a\U0001F600"_s);
}

TEST_F(DropIconsWindowTest, WithoutADesktopThereIsNoCheckBox)
{
    open(icons(QString()));
    beginNew(u"a"_s);
    EXPECT_FALSE(part<QCheckBox>("onDesktopCheckBox").isVisible());
}

TEST_F(DropIconsWindowTest, AnIconWithAServerOfItsOwnIsMadeOnceThatIsSaid)
{
    open();
    beginNew(u"Quillbox 2"_s);
    part<QRadioButton>("ownServerButton").click();
    EXPECT_EQ(part<QLabel>("explanationLabel").text(), IconText::explanation(u"Quillbox 2"_s, IconSort::OwnServer));
    EXPECT_FALSE(save().isEnabled());

    part<QLineEdit>("addressTextField").setText(u"files.example.com"_s);
    part<QLineEdit>("passwordTextField").setText(u"s3cret"_s);
    EXPECT_TRUE(save().isEnabled());
    saveForm();

    EXPECT_EQ(rows(), QStringList{ u"Quillbox 2|ftp://files.example.com/|None known"_s });
    const UserDefaults settings(IconSettings::filePath(u"Quillbox 2"_s));
    EXPECT_EQ(settings.string(SettingNames::address), u"files.example.com"_s);
    EXPECT_EQ(settings.string(SettingNames::password), u"s3cret"_s);
    EXPECT_EQ(UserDefaults::standard().string(SettingNames::address), u"host"_s);
}

TEST_F(DropIconsWindowTest, AnIconIsRenamedAndItsServerChanged)
{
    ASSERT_EQ(icons().make(withServer(u"a"_s)), DropIcons::Outcome::Made);
    open();

    beginEdit(0);
    name().setText(u"b"_s);
    saveForm();
    EXPECT_EQ(rows(), QStringList{ u"b|ftp://other/in/|None known"_s });
    EXPECT_EQ(selectedRow(), 0);

    beginEdit(0);
    part<QLineEdit>("folderTextField").setText(u"out"_s);
    saveForm();
    EXPECT_EQ(rows(), QStringList{ u"b|ftp://other/out/|None known"_s });

    beginEdit(0);
    part<QRadioButton>("subFolderButton").click();
    saveForm();
    EXPECT_EQ(rows(), QStringList{ u"b|ftp://host/b/|None known"_s });
    EXPECT_FALSE(QFile::exists(IconSettings::filePath(u"b"_s)));
}

TEST_F(DropIconsWindowTest, AnIconWhoseSettingsAreGoneCanBeRenamedAndHasNoneThen)
{
    ASSERT_EQ(icons().make(withServer(u"a"_s)), DropIcons::Outcome::Made);
    ASSERT_TRUE(QFile::remove(IconSettings::filePath(u"a"_s)));
    open();

    beginEditOfDamaged(u"Settings Missing"_s);
    name().setText(u"b"_s);
    saveForm();

    EXPECT_EQ(rows(), QStringList{ u"b|Nowhere: its settings are gone|None known"_s });
    EXPECT_FALSE(QFile::exists(IconSettings::filePath(u"b"_s)));
}

TEST_F(DropIconsWindowTest, TabGoesThroughTheFieldsOfTheServerBehindItsChoice)
{
    ASSERT_EQ(icons().make(withServer(u"a"_s)), DropIcons::Outcome::Made);
    open();
    beginEdit(0);
    QStringList walked;
    name().setFocus();

    do {
        walked.append(form()->focusWidget()->objectName());
        QTest::keyClick(form()->focusWidget(), Qt::Key_Tab);
    } while (form()->focusWidget() != &name() && walked.size() < 30);

    EXPECT_EQ(walked.join(u' '),
              u"nameTextField colourBox lettersTextField onDesktopCheckBox subFolderButton addressTextField "
              "usernameTextField passwordTextField showPasswordButton folderTextField noEncryptionButton testButton "
              "webAddressTextField cancelIconButton saveIconButton"_s);
}

TEST_F(DropIconsWindowTest, WhoTakesAnIconItsServerIsToldThatItsSettingsAreRemoved)
{
    ASSERT_EQ(icons().make(withServer(u"a"_s)), DropIcons::Outcome::Made);
    open();
    beginEdit(0);
    const auto& explanation = part<QLabel>("explanationLabel");
    EXPECT_EQ(explanation.text(), IconText::explanation(u"a"_s, IconSort::OwnServer));

    part<QRadioButton>("subFolderButton").click();
    EXPECT_EQ(explanation.text(),
              IconText::explanation(u"a"_s, IconSort::SubFolder)
                  + u" The icon’s own settings, with the login, are removed."_s);

    part<QRadioButton>("ownServerButton").click();
    EXPECT_EQ(explanation.text(), IconText::explanation(u"a"_s, IconSort::OwnServer));
}

TEST_F(DropIconsWindowTest, NameAndSortOfAnIconThatRunsStayAndItsServerMayChange)
{
    ASSERT_EQ(icons().make(withServer(u"a"_s)), DropIcons::Outcome::Made);
    m_running = QStringList{ u"a"_s };
    open();

    beginEdit(0);

    EXPECT_FALSE(name().isEnabled());
    EXPECT_FALSE(part<QRadioButton>("subFolderButton").isEnabled());
    EXPECT_FALSE(part<QRadioButton>("ownServerButton").isEnabled());
    EXPECT_EQ(failure(), IconText::running(u"a"_s, true));
    part<QLineEdit>("folderTextField").setText(u"out"_s);
    saveForm();
    EXPECT_EQ(rows(), QStringList{ u"a|ftp://other/out/|None known"_s });
}

TEST_F(DropIconsWindowTest, WhereNobodyKnowsWhetherAnIconRunsTheFormSaysSoAndLetsItBeRenamed)
{
    ASSERT_EQ(icons().make({ .name = u"a"_s }), DropIcons::Outcome::Made);
    m_hasBus = false;
    open();

    beginEdit(0);

    EXPECT_EQ(failure(), IconText::running(u"a"_s, std::nullopt));
    name().setText(u"b"_s);
    saveForm();
    EXPECT_EQ(rows(), QStringList{ u"b|ftp://host/b/|None known"_s });
    press("removeIconButton");
    EXPECT_EQ(
        shownSheets(),
        QStringList{ u"Remove Drop Icon: "_s + IconText::removalQuestion(icons().icons().constFirst(), std::nullopt) });
    answerSheet(u"Cancel"_s);
}

TEST_F(DropIconsWindowTest, AnIconThatIsStartedMeanwhileIsNotRenamed)
{
    ASSERT_EQ(icons().make({ .name = u"a"_s }), DropIcons::Outcome::Made);
    open();
    beginEdit(0);
    name().setText(u"b"_s);
    m_running = QStringList{ u"a"_s };

    save().click();

    EXPECT_EQ(failure(), IconText::running(u"a"_s, true));
    EXPECT_EQ(name().text(), u"a"_s);
    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList{ u"a"_s });
}

TEST_F(DropIconsWindowTest, WhatIsThereAlreadyIsSaidUntilTheNameChanges)
{
    open();
    make(u"Scans"_s);
    write(path(u"quillbox/copies/foreign"_s));

    beginNew(u"Scans"_s);
    save().click();
    EXPECT_EQ(failure(), u"There is an icon of that name already."_s);
    name().setText(u"foreign"_s);
    EXPECT_EQ(failure(), QString());
    save().click();

    EXPECT_EQ(failure(), IconText::failure(DropIcons::Outcome::AlreadyThere, false));
    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_EQ(rows().size(), 1);
}

TEST_F(DropIconsWindowTest, WhatCannotBeWrittenIsSaid)
{
    write(path(u"applications"_s)); // Where a folder should be.
    open();

    beginNew(u"Scans"_s);
    save().click();

    EXPECT_EQ(failure(), IconText::failure(DropIcons::Outcome::NotWritable, false));
    EXPECT_EQ(name().text(), u"Scans"_s);
    EXPECT_EQ(rows(), QStringList());
}

TEST_F(DropIconsWindowTest, RemovingAsksFirstAndCancelKeepsTheIcon)
{
    ASSERT_EQ(icons().make({ .name = u"Scans"_s }), DropIcons::Outcome::Made);
    open();
    table().selectRow(0);

    QTest::keyClick(&table(), Qt::Key_Delete);

    EXPECT_EQ(shownSheets(),
              QStringList{ u"Remove Drop Icon: "_s + IconText::removalQuestion(icons().icons().constFirst(), false) });
    auto* const sheet = m_window->findChild<AlertDialog*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->defaultButton()->text(), u"Cancel"_s);
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    answerSheet(u"Cancel"_s);
    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList{ u"Scans"_s });
}

TEST_F(DropIconsWindowTest, TheQuestionBeforeTheRemovalOfAnIconThatRunsSaysSo)
{
    ASSERT_EQ(icons().make(withServer(u"a"_s)), DropIcons::Outcome::Made);
    m_running = QStringList{ u"a"_s };
    open();
    table().selectRow(0);

    press("removeIconButton");

    EXPECT_EQ(shownSheets(),
              QStringList{ u"Remove Drop Icon: "_s + IconText::removalQuestion(icons().icons().constFirst(), true) });
    answerSheet(u"Remove"_s);
    EXPECT_EQ(rows(), QStringList());
    EXPECT_FALSE(QFile::exists(IconSettings::filePath(u"a"_s)));
}

TEST_F(DropIconsWindowTest, ARemovedIconIsGoneWithAllItsFilesAndTheNextOneIsSelected)
{
    for (const QString& icon : { u"a"_s, u"b"_s, u"c"_s }) {
        ASSERT_EQ(icons().make({ .name = icon, .onDesktop = true }), DropIcons::Outcome::Made);
    }
    open();
    table().selectRow(1);

    press("removeIconButton");
    answerSheet(u"Remove"_s);

    EXPECT_EQ(files(u"quillbox/copies"_s), (QStringList{ u"a"_s, u"c"_s }));
    EXPECT_EQ(files(u"applications"_s).size(), 2);
    EXPECT_EQ(files(u"Desktop"_s), (QStringList{ u"a.desktop"_s, u"c.desktop"_s }));
    EXPECT_EQ(selectedRow(), 1);
    for (int left = 1; left >= 0; --left) {
        ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
        press("removeIconButton");
        answerSheet(u"Remove"_s);
        EXPECT_EQ(rows().size(), left);
    }
    for (const char* folder : { "Desktop", "applications", "Thunar/sendto", "kio/servicemenus", "quillbox/copies" }) {
        EXPECT_EQ(files(QString::fromLatin1(folder)), QStringList());
    }
    EXPECT_FALSE(part<QPushButton>("removeIconButton").isEnabled());
    EXPECT_EQ(table().emptyText(), u"No drop icons yet"_s);
}

TEST_F(DropIconsWindowTest, AnIconThatCannotBeRemovedStaysInTheListAndTheWindowSaysSo)
{
    // The kernel's own links, which nobody can remove.
    DropIcons::Folders folders = DropIcons::Folders::below(m_folder.path());
    folders.links = u"/proc/self"_s;
    open(DropIcons(path(u"program"_s), folders));
    const auto isExe = [](const QString& row) { return row.startsWith(u"exe|"_s); };
    const QStringList listed = rows();
    const auto row = static_cast<int>(std::ranges::find_if(listed, isExe) - listed.begin());
    ASSERT_LT(row, listed.size());
    table().selectRow(row);

    press("removeIconButton");
    answerSheet(u"Remove"_s);

    EXPECT_EQ(message(), u"“exe” could not be removed."_s);
    EXPECT_EQ(selectedRow(), row);
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(DropIconsWindowTest, AnIconThatSomebodyElseHasRemovedIsJustGone)
{
    open();
    make(u"Scans"_s);
    press("removeIconButton");
    ASSERT_TRUE(icons().remove({ .name = u"Scans"_s }));

    answerSheet(u"Remove"_s);

    EXPECT_EQ(rows(), QStringList());
    EXPECT_EQ(message(), QString());
}

TEST_F(DropIconsWindowTest, StartStartsTheSelectedIconOrSaysThatItCannot)
{
    ASSERT_EQ(icons().make({ .name = u"a"_s }), DropIcons::Outcome::Made);
    ASSERT_EQ(icons().make(withServer(u"b"_s)), DropIcons::Outcome::Made);
    open();
    table().selectRow(1);

    press("startIconButton");
    table().selectRow(0);
    part<QAction>("startIconAction").trigger();
    EXPECT_EQ(m_started,
              (QStringList{ path(u"quillbox/icons/b --settings "_s) + IconSettings::filePath(u"b"_s),
                            path(u"quillbox/copies/a"_s) }));
    EXPECT_EQ(message(), QString());

    m_canStart = false;
    press("startIconButton");
    EXPECT_EQ(message(), u"“a” could not be started."_s);
    table().selectRow(1);
    EXPECT_EQ(message(), QString());
}

TEST_F(DropIconsWindowTest, ReturnAndEnterStartTheSelectedIconAndF2EditsIt)
{
    ASSERT_EQ(icons().make({ .name = u"a"_s }), DropIcons::Outcome::Made);
    open();
    QTest::keyClick(&table(), Qt::Key_Return);
    EXPECT_EQ(m_started, QStringList());
    table().selectRow(0);
    const QString link = path(u"quillbox/copies/a"_s);

    QTest::keyClick(&table(), Qt::Key_Return);
    QTest::keyClick(&table(), Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(m_started, (QStringList{ link, link }));

    QTest::keyClick(&table(), Qt::Key_F2);
    ASSERT_TRUE(waitFor([this] { return form() != nullptr && form()->isActiveWindow(); }));
    EXPECT_EQ(name().text(), u"a"_s);
}

TEST_F(DropIconsWindowTest, TheListIsReadAgainWhenTheWindowBecomesActiveAndTheSelectionStays)
{
    open();
    make(u"b"_s);
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(waitFor([&other] { return other.isActiveWindow(); }));
    ASSERT_EQ(icons().make({ .name = u"a"_s }), DropIcons::Outcome::Made);
    EXPECT_TRUE(UserDefaults::standard().store({ { SettingNames::address, u"elsewhere"_s } }));
    EXPECT_EQ(rows().size(), 1);

    m_window->activateWindow();

    EXPECT_TRUE(waitFor([this] { return rows().size() == 2; }));
    EXPECT_EQ(selectedRow(), 1);
    EXPECT_EQ(rows().last(), u"b|ftp://elsewhere/b/|None known"_s);
}

TEST_F(DropIconsWindowTest, TheListIsReadAgainNowAndThenWhileItIsSeen)
{
    ASSERT_EQ(icons().make({ .name = u"a"_s }), DropIcons::Outcome::Made);
    open();
    auto& reading = *m_window->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    EXPECT_EQ(reading.interval(), 60'000);
    const QDateTime moment = QDateTime::currentDateTime();
    m_lastUploads = Times{ { { u"a"_s, u"ftp://host/a/"_s }, moment.toMSecsSinceEpoch() } };
    EXPECT_EQ(rows(), QStringList{ u"a|ftp://host/a/|None known"_s });

    reading.setInterval(1);

    const QString expected = u"a|ftp://host/a/"_s + u'|' + shortDateShortTimeText(moment);
    EXPECT_TRUE(waitFor([&] { return rows() == QStringList{ expected }; }));
    m_window->close();
    EXPECT_FALSE(reading.isActive());
}

TEST_F(DropIconsWindowTest, AVeryLongNameDoesNotWidenTheWindow)
{
    open();
    const int width = m_window->width();

    make(QString(247, u'x'));
    QCoreApplication::processEvents();

    EXPECT_EQ(m_window->width(), width);
    EXPECT_LE(m_window->minimumSizeHint().width(), width);
}

TEST_F(DropIconsWindowTest, WhoEditsAServerIsToldWhenItsSettingsWereOpenToOthers)
{
    ASSERT_EQ(icons().make(withServer(u"a"_s)), DropIcons::Outcome::Made);
    const QString settings = IconSettings::filePath(u"a"_s);
    open();
    ASSERT_TRUE(QFile::setPermissions(settings, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
    EXPECT_EQ(shownSheets(), QStringList());

    table().selectRow(0);
    press("editIconButton");

    ASSERT_TRUE(waitFor([] { return !shownSheets().isEmpty(); }));
    EXPECT_TRUE(shownSheets().first().contains(settings)) << shownSheets().first().toStdString();
    EXPECT_FALSE(QFileInfo(settings).permissions() & QFile::ReadOther);
    answerSheet();
}

} // namespace
