#include "DropIcons.h"

#include "BusName.h"
#include "FileChanges.h"
#include "IconDestination.h"
#include "IconName.h"
#include "IconSettings.h"
#include "TemporaryHome.h"
#include "WaitFor.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sys/fsuid.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

using Outcome = DropIcons::Outcome;

/// Names that something between here and the program could take for more than a name.
const QStringList strangeNames{ u"Scans"_s,          u"Photos/2024"_s, u"with blank"_s,  u" leading"_s,
                                u"été Ω"_s,          u"a\"b'c`d"_s,    u"100%F %% %1"_s, u"$HOME"_s,
                                u"back\\slash\\n"_s, u"Quillbox 2"_s,  u"#;[x]&|<>*?"_s, u"x.app"_s,
                                u"--help"_s,         u"a=b"_s,         u"trailing "_s,   u"two  "_s };

class DropIconsTest : public ::testing::Test {
protected:
    DropIconsTest()
    {
        QDir().mkpath(path(u"Desktop"_s));
        write(path(u"program"_s),
              "#!/bin/sh\nprintf '%s\\n' \"${0##*/}\" \"$@\" >\"$RESULT.new\"\nmv \"$RESULT.new\" "
              "\"$RESULT\"\n");
        QFile::setPermissions(path(u"program"_s), QFile::ReadOwner | QFile::ExeOwner);
    }

    QString path(const QString& name) const { return m_folder.path() + u'/' + name; }
    QString launcherPath(const QString& file) const { return path(u"applications/"_s) + busName(file) + u".desktop"_s; }
    QString sendToPath(const QString& file) const { return path(u"Thunar/sendto/"_s) + busName(file) + u".desktop"_s; }
    QString serviceMenuPath(const QString& file) const
    {
        return path(u"kio/servicemenus/"_s) + busName(file) + u".desktop"_s;
    }
    QStringList files(const QString& folder) const
    {
        return QDir(path(folder)).entryList(QDir::Files | QDir::System | QDir::Hidden);
    }

    /// The icon @p name as it is now.
    static DropIcons::Icon iconCalled(const DropIcons& icons, const QString& name)
    {
        const QList<DropIcons::Icon> all = icons.icons();
        const auto found = std::ranges::find(all, name, &DropIcons::Icon::name);
        return found == all.end() ? DropIcons::Icon{ .name = name } : *found;
    }
    static Outcome changeOf(const DropIcons& icons, const QString& name, const DropIcons::Wish& wish)
    {
        return icons.change(iconCalled(icons, name), wish);
    }

    static bool remove(const DropIcons& icons, const QString& name) { return icons.remove(iconCalled(icons, name)); }

    static void write(const QString& path, const QByteArray& content)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// What the program gets when the desktop's own library starts each of @p launchers with a file.
    QByteArrayList startedBy(const QStringList& launchers) const
    {
        static const QString script = u"import sys; from gi.repository import Gio\n"
                                      "for number, launcher in enumerate(sys.argv[2:]):\n"
                                      "    context = Gio.AppLaunchContext()\n"
                                      "    context.setenv('RESULT', sys.argv[1] + str(number))\n"
                                      "    information = Gio.DesktopAppInfo.new_from_filename(launcher)\n"
                                      "    information.launch([Gio.File.new_for_path('/a b%')], context)\n"_s;
        const QTemporaryDir results;
        QProcess process;
        process.start(u"/usr/bin/python3"_s, QStringList{ u"-c"_s, script, results.filePath(u"result"_s) } + launchers);
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        QByteArrayList got;
        for (qsizetype number = 0; number < launchers.size(); ++number) {
            const QString result = results.filePath(u"result%1"_s.arg(number));
            EXPECT_TRUE(waitFor([&result] { return QFile::exists(result); }));
            got.append(read(result));
        }
        return got;
    }

    /// All that lies in the home folder and where icons put their files, each with its content.
    QMap<QString, QByteArray> everything() const
    {
        QMap<QString, QByteArray> found;
        for (const QString& folder : { m_folder.path(), m_home.path() }) {
            QDirIterator files(folder, QDir::Files | QDir::System | QDir::Hidden, QDirIterator::Subdirectories);
            while (files.hasNext()) {
                const QString file = files.next();
                const QFileInfo info(file);
                found.insert(file, info.isSymLink() ? info.symLinkTarget().toUtf8() : read(file));
            }
        }
        return found;
    }
    static DropIcons::Wish withServer(const QString& name)
    {
        return { .name = name, .sort = IconSort::OwnServer, .server = QJsonObject{ { u"Address"_s, u"other"_s } } };
    }
    static mode_t modeOf(const QString& path)
    {
        struct stat status { };
        EXPECT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
        return status.st_mode & 0777;
    }
    static QString settingsPath(const QString& name) { return IconSettings::filePath(IconName::fileName(name)); }

    TemporaryHome m_home; ///< For the settings of icons.
    QTemporaryDir m_folder;
    /// Folders like m_icons', but for those that @p change replaces.
    DropIcons iconsWith(const std::function<void(DropIcons::Folders&)>& change) const
    {
        DropIcons::Folders folders = DropIcons::Folders::below(m_folder.path());
        change(folders);
        return DropIcons(path(u"program"_s), folders);
    }

    DropIcons m_icons{ path(u"program"_s), DropIcons::Folders::below(m_folder.path()) };
};

TEST_F(DropIconsTest, AnIconIsALinkOfItsNameAndALauncher)
{
    EXPECT_EQ(m_icons.make({ .name = u"Scans"_s }), Outcome::Made);

    EXPECT_EQ(QFile::symLinkTarget(path(u"quillbox/copies/Scans"_s)), path(u"program"_s));
    EXPECT_TRUE(read(launcherPath(u"Scans"_s)).contains("\nName=Scans\n"));
    EXPECT_TRUE(read(launcherPath(u"Scans"_s)).contains("\nStartupWMClass=Scans\n"));
    EXPECT_TRUE(read(launcherPath(u"Scans"_s)).contains("\nCategories=Network;FileTransfer;Qt;\n"));
    EXPECT_FALSE(read(launcherPath(u"Scans"_s)).contains("MimeType"));
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, ALauncherOnTheDesktopMayBeExecuted)
{
    EXPECT_EQ(m_icons.make({ .name = u"A/B"_s, .onDesktop = true }), Outcome::Made);

    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"A:B.desktop"_s });
    EXPECT_TRUE(QFileInfo(path(u"Desktop/A:B.desktop"_s)).isExecutable());
    EXPECT_EQ(m_icons.icons().size(), 1);
    EXPECT_TRUE(m_icons.icons().constFirst().isOnDesktop);
}

TEST_F(DropIconsTest, ALauncherOnTheDesktopIsNoHiddenFile)
{
    EXPECT_EQ(m_icons.make({ .name = u".x"_s, .onDesktop = true }), Outcome::Made);

    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u":x.desktop"_s });
    ASSERT_EQ(m_icons.icons().size(), 1);
    EXPECT_TRUE(m_icons.icons().constFirst().isOnDesktop);
    EXPECT_TRUE(remove(m_icons, u".x"_s));
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, ALauncherThatAnEarlierVersionHasPutOnTheDesktopMovesWithTheNextChangeOrIsRemoved)
{
    const DropIcons::Wish wish{ .name = u".x"_s, .onDesktop = true };
    const auto asItWas = [this, &wish] {
        ASSERT_EQ(m_icons.make(wish), Outcome::Made);
        ASSERT_TRUE(QFile::rename(path(u"Desktop/:x.desktop"_s), path(u"Desktop/_x.desktop"_s)));
    };
    asItWas();
    EXPECT_TRUE(m_icons.icons().constFirst().isOnDesktop);
    EXPECT_EQ(m_icons.make({ .name = u"_x"_s, .onDesktop = true }), Outcome::AlreadyThere);

    EXPECT_EQ(changeOf(m_icons, u".x"_s, wish), Outcome::Made);

    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u":x.desktop"_s });
    EXPECT_TRUE(remove(m_icons, u".x"_s));
    asItWas();
    EXPECT_TRUE(remove(m_icons, u".x"_s));
    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

/// Names of which two differ by little: by what some file systems, formats or people take for the same.
QStringList similarNames()
{
    const QStringList words{ u"x"_s,
                             u"X"_s,
                             u".x"_s,
                             u"_x"_s,
                             u"..x"_s,
                             u"__x"_s,
                             u"x."_s,
                             u" x"_s,
                             u"x "_s,
                             u"x  "_s,
                             u"\\sx"_s,
                             u"x\\s"_s,
                             u"%x"_s,
                             u"%%x"_s,
                             u"x%20"_s,
                             u"x%2F"_s,
                             u"é"_s,
                             u"e\u0301"_s,
                             u"É"_s,
                             u"ß"_s,
                             u"ss"_s,
                             u"\uFB00"_s,
                             u"ff"_s,
                             u"x.app"_s,
                             u".app"_s,
                             u"x.json"_s,
                             u"x.desktop"_s,
                             u"x.json.bak"_s,
                             u".x.json.unfinished-a"_s,
                             u"x.png"_s,
                             u"x=y"_s,
                             u"x-y"_s,
                             u"x\"y"_s };
    QStringList names;
    for (const QString& word : words) {
        names += { word, word + u".app"_s };
    }
    for (const QChar last : { u'a', u'A', u'.', u'_' }) {
        names.append(QString(IconSettings::longestFileName - 1, u'x') + last);
    }
    names.removeDuplicates();
    return names;
}

TEST_F(DropIconsTest, NoTwoIconsShareAnything)
{
    const QStringList names = similarNames();
    QSet<QString> busNames;
    qsizetype withServers = 0;
    for (const QString& name : names) {
        DropIcons::Wish wish{ .name = name, .onDesktop = true, .picture = { {}, u"a"_s } };
        if (busNames.size() % 2 == 0) {
            wish.sort = IconSort::OwnServer;
            wish.server = QJsonObject{ { u"Address"_s, u"other"_s } };
            ++withServers;
        }
        ASSERT_EQ(m_icons.make(wish), Outcome::Made) << name.toStdString();
        busNames.insert(busName(IconName::fileName(name)));
    }

    EXPECT_EQ(busNames.size(), names.size());
    EXPECT_EQ(files(u"quillbox/icons"_s).size(), withServers);
    EXPECT_EQ(files(u"quillbox/copies"_s).size(), names.size() - withServers);
    EXPECT_EQ(QDir(QFileInfo(settingsPath(u"x"_s)).path()).entryList(QDir::Files | QDir::Hidden).size(), withServers);
    for (const QString& folder :
         { u"quillbox/pictures"_s, u"applications"_s, u"Thunar/sendto"_s, u"kio/servicemenus"_s, u"Desktop"_s }) {
        EXPECT_EQ(files(folder).size(), names.size()) << folder.toStdString();
    }
    for (qsizetype left = names.size() - 1; left >= 0; --left) {
        EXPECT_TRUE(remove(m_icons, names[left])) << names[left].toStdString();
        EXPECT_EQ(m_icons.icons().size(), left);
        EXPECT_EQ(files(u"Desktop"_s).size(), left) << names[left].toStdString();
    }
    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

TEST_F(DropIconsTest, NoIconClaimsTheWindowsOfAllOthers)
{
    ASSERT_EQ(m_icons.make({ .name = u"quillbox"_s }), Outcome::Made);

    EXPECT_FALSE(read(launcherPath(u"quillbox"_s)).contains("StartupWMClass"));
}

TEST_F(DropIconsTest, BlanksAtTheEndsOfANameAreWrittenSoThatNoReaderDropsThem)
{
    ASSERT_EQ(m_icons.make({ .name = u" a "_s }), Outcome::Made);

    const QList<QByteArray> lines = read(launcherPath(u" a "_s)).split('\n');
    EXPECT_TRUE(lines.contains("Name=\\sa\\s"));
    EXPECT_TRUE(lines.contains("StartupWMClass=\\sa\\s"));
    for (const QByteArray& line : lines) {
        EXPECT_FALSE(line.endsWith(' ')) << line.toStdString();
    }
}

TEST_F(DropIconsTest, EveryLauncherIsValidAndStartsTheProgramUnderTheIconsName)
{
    QStringList launchers;
    QByteArrayList expected;
    for (const QString& name : strangeNames) {
        ASSERT_EQ(m_icons.make({ .name = name }), Outcome::Made) << name.toStdString();
        const QString file = IconName::fileName(name);
        for (const QString& launcher : { launcherPath(file), sendToPath(file) }) {
            launchers.append(launcher);
            expected.append(file.toUtf8() + "\n/a b%\n");
        }
    }

    EXPECT_EQ(QProcess::execute(u"desktop-file-validate"_s, launchers), 0);
    EXPECT_EQ(startedBy(launchers), expected);
}

TEST_F(DropIconsTest, OfALinkThatWasMadeByHandNothingIsLeftEitherWhateverItsName)
{
    const QString name = u"two\nlines"_s;
    ASSERT_TRUE(QDir().mkpath(path(u"quillbox/copies"_s)));
    ASSERT_TRUE(QFile::link(path(u"program"_s), path(u"quillbox/copies/"_s) + name));

    m_icons.makeMissingEntries();

    EXPECT_EQ(startedBy({ sendToPath(name) }), QByteArrayList{ "two\nlines\n/a b%\n" });
    EXPECT_TRUE(remove(m_icons, name));
    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

TEST_F(DropIconsTest, IconsAreListedByTheNamesThatWereGiven)
{
    for (const QString& name : strangeNames) {
        ASSERT_EQ(m_icons.make({ .name = name }), Outcome::Made);
    }
    write(path(u"quillbox/copies/not a link"_s), "");

    QStringList listed;
    for (const DropIcons::Icon& icon : m_icons.icons()) {
        listed.append(icon.name);
        EXPECT_EQ(QFileInfo(icon.path).symLinkTarget(), path(u"program"_s));
    }

    EXPECT_EQ(QSet<QString>(listed.cbegin(), listed.cend()), QSet<QString>(strangeNames.cbegin(), strangeNames.cend()));
    EXPECT_EQ(listed.size(), strangeNames.size());
}

TEST_F(DropIconsTest, RemovingLeavesNothingOfAnIconAndAllOfTheOthers)
{
    ASSERT_EQ(m_icons.make({ .name = u"a\"%/é"_s, .onDesktop = true }), Outcome::Made);
    ASSERT_EQ(m_icons.make({ .name = u"other"_s, .onDesktop = true }), Outcome::Made);

    EXPECT_TRUE(remove(m_icons, u"a\"%/é"_s));

    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList{ u"other"_s });
    EXPECT_EQ(files(u"applications"_s).size(), 1);
    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"other.desktop"_s });
    EXPECT_FALSE(remove(m_icons, u"a\"%/é"_s));
    EXPECT_FALSE(remove(m_icons, u".."_s));
    EXPECT_TRUE(QFile::exists(path(u"program"_s)));
}

TEST_F(DropIconsTest, WhatIsNotOursStaysAsItIs)
{
    const QByteArray foreign = "[Desktop Entry]\nName=x\n";
    write(path(u"quillbox/copies/x"_s), foreign);
    write(launcherPath(u"y"_s), foreign);
    write(path(u"Desktop/z.desktop"_s), foreign);
    ASSERT_TRUE(QFile::link(path(u"nowhere"_s), path(u"Desktop/w.desktop"_s)));

    for (const QString& name : { u"x"_s, u"y"_s, u"z"_s, u"w"_s }) {
        EXPECT_EQ(m_icons.make({ .name = name, .onDesktop = true }), Outcome::AlreadyThere) << name.toStdString();
    }
    EXPECT_FALSE(remove(m_icons, u"x"_s));
    EXPECT_EQ(m_icons.make({ .name = u"z"_s }), Outcome::Made);
    EXPECT_TRUE(remove(m_icons, u"z"_s));

    EXPECT_EQ(read(path(u"quillbox/copies/x"_s)), foreign);
    EXPECT_EQ(read(launcherPath(u"y"_s)), foreign);
    EXPECT_EQ(read(path(u"Desktop/z.desktop"_s)), foreign);
    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList{ u"x"_s });
    EXPECT_EQ(files(u"applications"_s).size(), 1);
    EXPECT_FALSE(QFileInfo::exists(path(u"nowhere"_s)));
}

TEST_F(DropIconsTest, AnIconWhoseLinkWasRemovedByHandCanBeMadeAgain)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s, .onDesktop = true }), Outcome::Made);
    const QByteArray launcher = read(launcherPath(u"a"_s));
    ASSERT_TRUE(QFile::remove(path(u"quillbox/copies/a"_s)));
    write(launcherPath(u"a"_s), launcher + "Comment[de]=old\n");

    EXPECT_EQ(m_icons.make({ .name = u"a"_s, .onDesktop = true }), Outcome::Made);

    EXPECT_EQ(read(launcherPath(u"a"_s)), launcher);
    EXPECT_EQ(read(path(u"Desktop/a.desktop"_s)), launcher);
    EXPECT_TRUE(remove(m_icons, u"a"_s));
    EXPECT_EQ(files(u"applications"_s) + files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, AnotherIconsLauncherStandsInTheWay)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    const QByteArray launcher = read(launcherPath(u"a"_s));
    write(path(u"Desktop/b.desktop"_s), launcher);
    write(launcherPath(u"c"_s), launcher);

    EXPECT_EQ(m_icons.make({ .name = u"b"_s, .onDesktop = true }), Outcome::AlreadyThere);
    EXPECT_EQ(m_icons.make({ .name = u"c"_s }), Outcome::AlreadyThere);

    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList{ u"a"_s });
    EXPECT_EQ(read(path(u"Desktop/b.desktop"_s)), launcher);
}

TEST_F(DropIconsTest, AnIconIsMadeOnce)
{
    EXPECT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    const QByteArray launcher = read(launcherPath(u"a"_s));

    EXPECT_EQ(m_icons.make({ .name = u"a"_s, .onDesktop = true }), Outcome::AlreadyThere);

    EXPECT_EQ(read(launcherPath(u"a"_s)), launcher);
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, AnIconOfWhichAPartCannotBeMadeIsNotMade)
{
    write(path(u"applications"_s), "no folder");

    EXPECT_EQ(m_icons.make({ .name = u"a"_s, .onDesktop = true }), Outcome::NotWritable);

    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList());
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, WithoutALinkNothingOfAnIconIsMade)
{
    const DropIcons icons = iconsWith([](DropIcons::Folders& folders) { folders.links = u"/proc/nowhere"_s; });

    EXPECT_EQ(icons.make({ .name = u"a"_s, .onDesktop = true }), Outcome::NotWritable);

    EXPECT_EQ(files(u"applications"_s) + files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, AnIconThatCannotBePutOnTheDesktopIsNotMade)
{
    const DropIcons icons = iconsWith([](DropIcons::Folders& folders) { folders.desktop = u"/proc/nowhere"_s; });

    EXPECT_EQ(icons.make({ .name = u"a"_s, .onDesktop = true }), Outcome::NotWritable);

    EXPECT_EQ(files(u"quillbox/copies"_s) + files(u"applications"_s), QStringList());
}

TEST_F(DropIconsTest, AnIconWhoseLauncherCannotBeRemovedStaysListedUntilItCan)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    const auto setMode = [this](const QString& name, mode_t mode) {
        ASSERT_EQ(::chmod(QFile::encodeName(path(name)).constData(), mode), 0);
    };
    setMode(QString(), 0755);
    setMode(u"quillbox/copies"_s, 0777);
    setMode(u"applications"_s, 0555);
    {
        // Root may remove anything: as far as files go, be somebody else.
        const auto before = static_cast<uid_t>(::setfsuid(65534));
        const auto restore = qScopeGuard([before] { ::setfsuid(before); });

        EXPECT_FALSE(remove(m_icons, u"a"_s));
        EXPECT_EQ(m_icons.icons().size(), 1);
    }
    setMode(u"applications"_s, 0755);

    EXPECT_TRUE(remove(m_icons, u"a"_s));
    EXPECT_EQ(files(u"quillbox/copies"_s) + files(u"applications"_s), QStringList());
}

TEST_F(DropIconsTest, AnEntryOfAFileManagerUploadsToTheIconAndIsExecutableWhereThatCounts)
{
    ASSERT_EQ(m_icons.make({ .name = u"A/B"_s }), Outcome::Made);

    EXPECT_TRUE(read(sendToPath(u"A:B"_s)).contains("\nName=Upload to A/B\n"));
    ASSERT_EQ(m_icons.make({ .name = u"a_b"_s }), Outcome::Made);
    EXPECT_TRUE(read(sendToPath(u"a_b"_s)).contains("\nName=Upload to a__b\n"));
    const QByteArray menu = read(serviceMenuPath(u"A:B"_s));
    EXPECT_TRUE(menu.contains("\nActions=upload;\n"));
    EXPECT_TRUE(menu.contains("\nMimeType=all/allfiles;inode/directory;\n"));
    EXPECT_FALSE(read(sendToPath(u"A:B"_s)).contains("MimeType")); // Which takes all that there is.
    EXPECT_TRUE(menu.contains("\n[Desktop Action upload]\nName=Upload to A/B\n"));
    EXPECT_TRUE(QFileInfo(serviceMenuPath(u"A:B"_s)).isExecutable());
}

TEST_F(DropIconsTest, EntriesOfFileManagersThatAreMissingAreMadeAndNothingElse)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    ASSERT_EQ(m_icons.make(withServer(u"b"_s)), Outcome::Made);
    const QMap<QString, QByteArray> before = everything();
    for (const QString& path : { sendToPath(u"a"_s), serviceMenuPath(u"b"_s), launcherPath(u"b"_s) }) {
        ASSERT_TRUE(QFile::remove(path));
    }
    write(serviceMenuPath(u"a"_s), "of somebody else");
    QMap<QString, QByteArray> expected = before;
    expected.remove(launcherPath(u"b"_s));
    expected[serviceMenuPath(u"a"_s)] = "of somebody else";

    m_icons.makeMissingEntries();

    EXPECT_EQ(everything(), expected);
    EXPECT_TRUE(QFileInfo(serviceMenuPath(u"b"_s)).isExecutable());
}

TEST_F(DropIconsTest, AnIconWithAServerOfItsOwnHasItsSettingsForTheUserAloneAndNamesThemWhenItIsStarted)
{
    QDir(QFileInfo(settingsPath(u"Scans"_s)).path()).removeRecursively(); // It is made for the user alone, too.
    QStringList launchers;
    QByteArrayList expected;
    for (const QString& name : strangeNames) {
        SCOPED_TRACE(name.toStdString());
        ASSERT_EQ(m_icons.make(withServer(name)), Outcome::Made);
        const QString file = IconName::fileName(name);
        for (const QString& launcher : { launcherPath(file), sendToPath(file) }) {
            launchers.append(launcher);
            expected.append(file.toUtf8() + "\n--settings\n" + settingsPath(name).toUtf8() + "\n/a b%\n");
        }
        EXPECT_EQ(QFile::symLinkTarget(path(u"quillbox/icons/"_s) + file), path(u"program"_s));
        EXPECT_TRUE(read(settingsPath(name)).contains("\"other\""));
        EXPECT_EQ(modeOf(settingsPath(name)), 0600U);
    }

    EXPECT_EQ(modeOf(QFileInfo(settingsPath(u"Scans"_s)).path()), 0700U);
    EXPECT_EQ(QProcess::execute(u"desktop-file-validate"_s, launchers), 0);
    EXPECT_EQ(startedBy(launchers), expected);
    EXPECT_EQ(m_icons.icons().size(), strangeNames.size());
    EXPECT_EQ(m_icons.icons().constFirst().sort, IconSort::OwnServer);
    for (const QString& name : strangeNames) {
        EXPECT_TRUE(remove(m_icons, name));
    }
    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

TEST_F(DropIconsTest, ARenamedIconMovesWithAllThatItHas)
{
    for (const IconSort sort : { IconSort::SubFolder, IconSort::OwnServer }) {
        DropIcons::Wish wish{ .name = u"old"_s, .sort = sort, .onDesktop = true, .picture = { u"#c01c28"_s, u"ab"_s } };
        DropIcons::Wish renamed = wish;
        renamed.name = u"new"_s;
        wish.server = renamed.server = QJsonObject{ { u"Address"_s, u"other"_s } };
        ASSERT_EQ(m_icons.make(renamed), Outcome::Made);
        const QMap<QString, QByteArray> expected = everything();
        ASSERT_TRUE(remove(m_icons, u"new"_s));
        ASSERT_EQ(m_icons.make(wish), Outcome::Made);
        renamed.server.reset();

        EXPECT_EQ(changeOf(m_icons, u"old"_s, renamed), Outcome::Made);

        EXPECT_EQ(everything(), expected);
        EXPECT_TRUE(remove(m_icons, u"new"_s));
    }
    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

TEST_F(DropIconsTest, AnIconOfOneSortBecomesOneOfTheOther)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    const QMap<QString, QByteArray> inSubFolder = everything();

    EXPECT_EQ(changeOf(m_icons, u"a"_s, withServer(u"a"_s)), Outcome::Made);
    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList());
    EXPECT_EQ(files(u"quillbox/icons"_s), QStringList{ u"a"_s });
    EXPECT_TRUE(read(launcherPath(u"a"_s)).contains("--settings"));
    EXPECT_TRUE(QFile::exists(settingsPath(u"a"_s)));
    write(settingsPath(u"a"_s) + u".bak"_s, "{}");

    EXPECT_EQ(changeOf(m_icons, u"a"_s, { .name = u"a"_s }), Outcome::Made);
    EXPECT_EQ(everything(), inSubFolder);
}

TEST_F(DropIconsTest, AChangeThatCannotBeMadeWhollyChangesNothing)
{
    ASSERT_EQ(m_icons.make(withServer(u"old"_s)), Outcome::Made);
    ASSERT_EQ(m_icons.make({ .name = u"other"_s }), Outcome::Made);
    const QMap<QString, QByteArray> before = everything();
    DropIcons::Wish wish{ .name = u"new"_s, .sort = IconSort::OwnServer, .onDesktop = true };
    const auto changed = [this, &wish](const std::function<void(DropIcons::Folders&)>& change) {
        return changeOf(iconsWith(change), u"old"_s, wish);
    };

    EXPECT_EQ(changed([](auto& folders) { folders.desktop = u"/proc/nowhere"_s; }), Outcome::NotWritable);
    wish.picture.letters = u"a"_s;
    EXPECT_EQ(changed([](auto& folders) { folders.pictures = u"/proc/nowhere"_s; }), Outcome::NotWritable);
    wish.name = u"other"_s;
    EXPECT_EQ(changeOf(m_icons, u"old"_s, wish), Outcome::AlreadyThere);
    wish.name = u"a:b"_s;
    EXPECT_EQ(changeOf(m_icons, u"old"_s, wish), Outcome::NameNotPossible);
    EXPECT_EQ(changeOf(m_icons, u"nothing"_s, { .name = u"new"_s }), Outcome::Gone);

    EXPECT_EQ(everything(), before);
}

TEST_F(DropIconsTest, AServerIsChangedInPlace)
{
    ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
    DropIcons::Wish wish = withServer(u"a"_s);
    wish.server->insert(u"Address"_s, u"third"_s);

    EXPECT_EQ(changeOf(m_icons, u"a"_s, wish), Outcome::Made);

    EXPECT_TRUE(read(settingsPath(u"a"_s)).contains("\"third\""));
    EXPECT_EQ(files(u"quillbox/icons"_s), QStringList{ u"a"_s });
}

TEST_F(DropIconsTest, AChangeOfTheServerLeavesTheLaunchersAsTheyAre)
{
    DropIcons::Wish wish = withServer(u"a"_s);
    wish.onDesktop = true;
    ASSERT_EQ(m_icons.make(wish), Outcome::Made);
    const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1'000'000'000);
    const QStringList entries{ launcherPath(u"a"_s), sendToPath(u"a"_s), serviceMenuPath(u"a"_s),
                               path(u"Desktop/a.desktop"_s) };
    for (const QString& entry : entries) {
        QFile file(entry);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.setFileTime(longAgo, QFile::FileModificationTime));
    }
    wish.server->insert(u"Address"_s, u"third"_s);

    EXPECT_EQ(changeOf(m_icons, u"a"_s, wish), Outcome::Made);

    for (const QString& entry : entries) {
        EXPECT_EQ(QFileInfo(entry).lastModified(), longAgo) << entry.toStdString();
    }
}

TEST_F(DropIconsTest, SettingsThatWereLeftBehindGiveNoIconAServer)
{
    write(settingsPath(u"a"_s), "{\"Address\": \"old\"}");

    EXPECT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);

    EXPECT_FALSE(QFile::exists(settingsPath(u"a"_s)));
    EXPECT_EQ(m_icons.icons().constFirst().sort, IconSort::SubFolder);
}

TEST_F(DropIconsTest, AnIconWhoseSettingsAreGoneStillHasAServerOfItsOwn)
{
    ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
    ASSERT_TRUE(QFile::remove(settingsPath(u"a"_s)));

    ASSERT_EQ(m_icons.icons().size(), 1);
    EXPECT_EQ(m_icons.icons().constFirst().sort, IconSort::OwnServer);
    EXPECT_EQ(changeOf(m_icons, u"a"_s, { .name = u"b"_s, .sort = IconSort::OwnServer }), Outcome::Made);
    EXPECT_EQ(m_icons.icons().constFirst().sort, IconSort::OwnServer);
    EXPECT_TRUE(remove(m_icons, u"b"_s));
    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

TEST_F(DropIconsTest, ARenamedIconWithoutSettingsGetsNoneThatLieThere)
{
    ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
    ASSERT_TRUE(QFile::remove(settingsPath(u"a"_s)));
    write(settingsPath(u"b"_s), "{\"Address\": \"somebody's\"}");

    EXPECT_EQ(changeOf(m_icons, u"a"_s, { .name = u"b"_s, .sort = IconSort::OwnServer }), Outcome::Made);

    EXPECT_FALSE(QFile::exists(settingsPath(u"b"_s)));
    EXPECT_EQ(m_icons.icons().constFirst().sort, IconSort::OwnServer);
}

TEST_F(DropIconsTest, DamagedSettingsAreKeptBesideTheNewOnes)
{
    for (const QString& name : { u"a"_s, u"b"_s }) {
        ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
        write(settingsPath(u"a"_s), "{ \"Password\": \"typed by hand\" ");

        EXPECT_EQ(changeOf(m_icons, u"a"_s, withServer(name)), Outcome::Made);

        EXPECT_TRUE(read(settingsPath(name)).contains("\"other\""));
        EXPECT_EQ(read(settingsPath(name) + u".bak"_s), "{ \"Password\": \"typed by hand\" ");
        EXPECT_EQ(modeOf(settingsPath(name) + u".bak"_s), 0600U);
        EXPECT_TRUE(remove(m_icons, name));
    }
    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

TEST_F(DropIconsTest, WhatWasKeptOfDamagedSettingsMovesWithAnIconAndWhatAKilledStoreHasLeftGoes)
{
    ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
    write(settingsPath(u"a"_s) + u".bak"_s, "kept");
    const auto unfinished = [](const QString& name) {
        const QFileInfo settings(settingsPath(name));
        return settings.path() + u"/."_s + settings.fileName() + u".unfinished-abcdef"_s;
    };
    write(unfinished(u"a"_s), "{}");

    EXPECT_EQ(changeOf(m_icons, u"a"_s, { .name = u"b"_s, .sort = IconSort::OwnServer }), Outcome::Made);

    EXPECT_EQ(read(settingsPath(u"b"_s) + u".bak"_s), "kept");
    EXPECT_FALSE(QFile::exists(settingsPath(u"a"_s) + u".bak"_s));
    EXPECT_FALSE(QFile::exists(unfinished(u"a"_s)));
    write(unfinished(u"b"_s), "{}");
    EXPECT_TRUE(remove(m_icons, u"b"_s));
    EXPECT_FALSE(QFile::exists(settingsPath(u"b"_s) + u".bak"_s));
    EXPECT_FALSE(QFile::exists(unfinished(u"b"_s)));
}

TEST_F(DropIconsTest, SettingsThatCannotBeReadAreNotLostByARename)
{
    ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
    ASSERT_TRUE(QFile::remove(settingsPath(u"a"_s)));
    ASSERT_EQ(::mkfifo(QFile::encodeName(settingsPath(u"a"_s)).constData(), 0600), 0);
    const DropIcons::Wish renamed{ .name = u"b"_s, .sort = IconSort::OwnServer };

    EXPECT_EQ(changeOf(m_icons, u"a"_s, renamed), Outcome::NotWritable);

    EXPECT_TRUE(FileChanges::isTaken(settingsPath(u"a"_s)));
    EXPECT_EQ(m_icons.icons().constFirst().name, u"a"_s);
    EXPECT_TRUE(remove(m_icons, u"a"_s));
}

TEST_F(DropIconsTest, SettingsThatAreALinkStayOneAndTheFileThatItLeadsToIsChanged)
{
    ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
    const QString target = path(u"dotfiles/a.json"_s);
    ASSERT_TRUE(QDir().mkpath(path(u"dotfiles"_s)));
    ASSERT_TRUE(QFile::rename(settingsPath(u"a"_s), target));
    ASSERT_TRUE(QFile::link(target, settingsPath(u"a"_s)));
    const auto leadsThere
        = [&target](const QString& name) { return QFile::symLinkTarget(settingsPath(name)) == target; };
    DropIcons::Wish wish = withServer(u"a"_s);
    for (const QString& name : { u"a"_s, u"b"_s }) {
        wish.name = name;
        wish.server->insert(u"Address"_s, u"server of "_s + name);

        EXPECT_EQ(changeOf(m_icons, u"a"_s, wish), Outcome::Made);

        EXPECT_TRUE(leadsThere(name));
        EXPECT_TRUE(read(target).contains("\"server of " + name.toUtf8() + '"'));
        EXPECT_EQ(modeOf(target), 0600U);
    }
    EXPECT_FALSE(QFileInfo(settingsPath(u"a"_s)).isSymLink());
    EXPECT_EQ(changeOf(m_icons, u"b"_s, { .name = u"c"_s, .sort = IconSort::OwnServer }), Outcome::Made);
    EXPECT_TRUE(leadsThere(u"c"_s));
    const QMap<QString, QByteArray> before = everything();

    wish.name = u"c"_s;
    wish.server->insert(u"Address"_s, u"another"_s);
    wish.onDesktop = true;
    const DropIcons blocked = iconsWith([](auto& folders) { folders.desktop = u"/proc/nowhere"_s; });
    EXPECT_EQ(changeOf(blocked, u"c"_s, wish), Outcome::NotWritable);
    EXPECT_EQ(everything(), before);

    ASSERT_TRUE(m_icons.icons().constFirst().areSettingsLinked);
    EXPECT_TRUE(remove(m_icons, u"c"_s));
    EXPECT_EQ(everything().keys(), (QStringList{ target, path(u"program"_s) }));
}

TEST_F(DropIconsTest, AnIconThatIsOfAnotherSortByNowIsNeitherChangedNorRemoved)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    const DropIcons::Icon asItWas = m_icons.icons().constFirst();
    ASSERT_EQ(changeOf(m_icons, u"a"_s, withServer(u"a"_s)), Outcome::Made);
    const QMap<QString, QByteArray> before = everything();

    EXPECT_EQ(m_icons.change(asItWas, { .name = u"a"_s, .onDesktop = true }), Outcome::Gone);
    EXPECT_FALSE(m_icons.remove(asItWas));

    EXPECT_EQ(everything(), before);
}

TEST_F(DropIconsTest, AnIconWithLinksOfBothSortsIsRemovedWholly)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    ASSERT_TRUE(QDir().mkpath(path(u"quillbox/icons"_s)));
    ASSERT_TRUE(QFile::link(path(u"program"_s), path(u"quillbox/icons/a"_s)));

    ASSERT_EQ(m_icons.icons().size(), 1);
    EXPECT_EQ(m_icons.icons().constFirst().sort, IconSort::OwnServer);
    EXPECT_TRUE(remove(m_icons, u"a"_s));

    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

TEST_F(DropIconsTest, AChangeLeadsAnIconToTheProgramWhereThatHasMoved)
{
    for (const IconSort sort : { IconSort::SubFolder, IconSort::OwnServer }) {
        DropIcons::Wish wish{ .name = u"a"_s, .sort = sort };
        ASSERT_EQ(m_icons.make(wish), Outcome::Made);
        const QString link = m_icons.icons().constFirst().path;
        ASSERT_TRUE(QFile::remove(link));
        ASSERT_TRUE(QFile::link(path(u"before/program"_s), link));

        EXPECT_EQ(changeOf(m_icons, u"a"_s, wish), Outcome::Made);

        EXPECT_EQ(QFile::symLinkTarget(link), path(u"program"_s));
        EXPECT_TRUE(remove(m_icons, u"a"_s));
    }
}

TEST_F(DropIconsTest, EntriesStartTheLinkThatIsThereAndAreBroughtUpToDate)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    ASSERT_TRUE(QFile::remove(sendToPath(u"a"_s)));
    write(settingsPath(u"a"_s), "{}"); // By hand: from now on it has a server of its own.

    m_icons.makeMissingEntries();

    for (const QString& entry : { sendToPath(u"a"_s), serviceMenuPath(u"a"_s) }) {
        EXPECT_TRUE(read(entry).contains("quillbox/copies/a")) << read(entry).toStdString();
        EXPECT_TRUE(read(entry).contains("--settings"));
    }
}

TEST_F(DropIconsTest, SettingsThatAreNoFileHoldNobodyUp)
{
    ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
    ASSERT_TRUE(QFile::remove(settingsPath(u"a"_s)));
    ASSERT_EQ(::mkfifo(QFile::encodeName(settingsPath(u"a"_s)).constData(), 0600), 0);

    EXPECT_EQ(destinationOf(m_icons.icons().constFirst()), QString());
    EXPECT_EQ(changeOf(m_icons, u"a"_s, withServer(u"a"_s)), Outcome::NotWritable);
    EXPECT_TRUE(remove(m_icons, u"a"_s));

    EXPECT_EQ(everything().keys(), QStringList{ path(u"program"_s) });
}

TEST_F(DropIconsTest, APipeInALaunchersPlaceHoldsNobodyUp)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    ASSERT_TRUE(QFile::remove(launcherPath(u"a"_s)));
    ASSERT_EQ(::mkfifo(QFile::encodeName(launcherPath(u"a"_s)).constData(), 0600), 0);

    EXPECT_EQ(m_icons.icons().size(), 1);
    EXPECT_TRUE(remove(m_icons, u"a"_s));
    EXPECT_TRUE(FileChanges::isTaken(launcherPath(u"a"_s)));
}

TEST_F(DropIconsTest, NamesThatDifferByCaseAreTwoIcons)
{
    ASSERT_EQ(m_icons.make({ .name = u"scans"_s, .onDesktop = true }), Outcome::Made);
    ASSERT_EQ(m_icons.make(withServer(u"Scans"_s)), Outcome::Made);

    EXPECT_EQ(m_icons.icons().size(), 2);
    EXPECT_EQ(changeOf(m_icons, u"scans"_s, { .name = u"SCANS"_s, .onDesktop = true }), Outcome::Made);
    EXPECT_TRUE(remove(m_icons, u"Scans"_s));

    ASSERT_EQ(m_icons.icons().size(), 1);
    EXPECT_EQ(m_icons.icons().constFirst().name, u"SCANS"_s);
    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"SCANS.desktop"_s });
}

TEST_F(DropIconsTest, TheLauncherTellsThePictureAndShowsIt)
{
    const IconPicture picture{ .colour = u"#1c71d8"_s, .letters = u"\\é"_s };
    ASSERT_EQ(m_icons.make({ .name = u"a%b"_s, .picture = picture }), Outcome::Made);

    EXPECT_EQ(m_icons.icons().constFirst().picture, picture);
    const QString image = path(u"quillbox/pictures/a%b.png"_s);
    EXPECT_TRUE(read(launcherPath(u"a%b"_s)).contains("\nIcon=" + image.toUtf8() + '\n'));
    EXPECT_EQ(QImage(image).size(), QSize(256, 256));

    EXPECT_EQ(changeOf(m_icons, u"a%b"_s, { .name = u"a%b"_s }), Outcome::Made);
    EXPECT_EQ(m_icons.icons().constFirst().picture, IconPicture());
    EXPECT_FALSE(QFile::exists(image));
}

TEST_F(DropIconsTest, ANameThatIsNotPossibleMakesNothing)
{
    for (const QString& name : { u""_s, u"a/../b"_s, u"Quillbox"_s, QString(248, u'x') }) {
        EXPECT_EQ(m_icons.make({ .name = name, .onDesktop = true }), Outcome::NameNotPossible) << name.toStdString();
    }
    EXPECT_EQ(files(u"quillbox/copies"_s), QStringList());
    EXPECT_EQ(m_icons.make({ .name = QString(247, u'x'), .onDesktop = true }), Outcome::Made);
}

} // namespace
