#include "DropIcons.h"

#include "BusName.h"
#include "CheckRows.h"
#include "IconName.h"
#include "WaitFor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <gtest/gtest.h>

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
    QStringList files(const QString& folder) const
    {
        return QDir(path(folder)).entryList(QDir::Files | QDir::System | QDir::Hidden);
    }

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

    /// What the program gets when the desktop's own library starts a launcher with a file.
    QByteArray startedBy(const QString& launcher)
    {
        static const QString script = u"import sys; from gi.repository import Gio\n"
                                      "launcher = Gio.DesktopAppInfo.new_from_filename(sys.argv[1])\n"
                                      "launcher.launch([Gio.File.new_for_path('/a b%')], None)"_s;
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"RESULT"_s, path(u"result"_s));
        process.setProcessEnvironment(environment);
        QFile::remove(path(u"result"_s));
        process.start(u"/usr/bin/python3"_s, { u"-c"_s, script, launcher });
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        EXPECT_TRUE(waitFor([this] { return QFile::exists(path(u"result"_s)); }));
        return read(path(u"result"_s));
    }

    QTemporaryDir m_folder;
    DropIcons m_icons{
        path(u"program"_s),
        { .links = path(u"copies"_s), .launchers = path(u"applications"_s), .desktop = path(u"Desktop"_s) }
    };
};

TEST_F(DropIconsTest, AnIconIsALinkOfItsNameAndALauncher)
{
    EXPECT_EQ(m_icons.make(u"Scans"_s, false), Outcome::Made);

    EXPECT_EQ(QFile::symLinkTarget(path(u"copies/Scans"_s)), path(u"program"_s));
    EXPECT_TRUE(read(launcherPath(u"Scans"_s)).contains("\nName=Scans\n"));
    EXPECT_TRUE(read(launcherPath(u"Scans"_s)).contains("\nStartupWMClass=Scans\n"));
    EXPECT_TRUE(read(launcherPath(u"Scans"_s)).contains("\nCategories=Network;FileTransfer;Qt;\n"));
    EXPECT_FALSE(read(launcherPath(u"Scans"_s)).contains("MimeType"));
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, ALauncherOnTheDesktopMayBeExecuted)
{
    EXPECT_EQ(m_icons.make(u"A/B"_s, true), Outcome::Made);

    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"A:B.desktop"_s });
    EXPECT_TRUE(QFileInfo(path(u"Desktop/A:B.desktop"_s)).isExecutable());
    EXPECT_EQ(m_icons.icons().size(), 1);
    EXPECT_TRUE(m_icons.icons().constFirst().isOnDesktop);
}

TEST_F(DropIconsTest, ALauncherOnTheDesktopIsNoHiddenFile)
{
    EXPECT_EQ(m_icons.make(u".x"_s, true), Outcome::Made);

    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"_x.desktop"_s });
    EXPECT_EQ(m_icons.make(u"_x"_s, true), Outcome::AlreadyThere);
    ASSERT_EQ(m_icons.icons().size(), 1);
    EXPECT_TRUE(m_icons.icons().constFirst().isOnDesktop);
    EXPECT_TRUE(m_icons.remove(u".x"_s));
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, NoIconClaimsTheWindowsOfAllOthers)
{
    ASSERT_EQ(m_icons.make(u"quillbox"_s, false), Outcome::Made);

    EXPECT_FALSE(read(launcherPath(u"quillbox"_s)).contains("StartupWMClass"));
}

TEST_F(DropIconsTest, BlanksAtTheEndsOfANameAreWrittenSoThatNoReaderDropsThem)
{
    ASSERT_EQ(m_icons.make(u" a "_s, false), Outcome::Made);

    const QList<QByteArray> lines = read(launcherPath(u" a "_s)).split('\n');
    EXPECT_TRUE(lines.contains("Name=\\sa\\s"));
    EXPECT_TRUE(lines.contains("StartupWMClass=\\sa\\s"));
    for (const QByteArray& line : lines) {
        EXPECT_FALSE(line.endsWith(' ')) << line.toStdString();
    }
}

TEST_F(DropIconsTest, EveryLauncherIsValidAndStartsTheProgramUnderTheIconsName)
{
    for (const QString& name : strangeNames) {
        SCOPED_TRACE(name.toStdString());
        ASSERT_EQ(m_icons.make(name, false), Outcome::Made);
        const QString file = IconName::fileName(name);

        const int validity = QProcess::execute(u"desktop-file-validate"_s, { launcherPath(file) });

        EXPECT_EQ(validity, 0) << read(launcherPath(file)).toStdString();
        EXPECT_EQ(startedBy(launcherPath(file)), file.toUtf8() + "\n/a b%\n");
    }
}

TEST_F(DropIconsTest, IconsAreListedByTheNamesThatWereGiven)
{
    for (const QString& name : strangeNames) {
        ASSERT_EQ(m_icons.make(name, false), Outcome::Made);
    }
    write(path(u"copies/not a link"_s), "");

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
    ASSERT_EQ(m_icons.make(u"a\"%/é"_s, true), Outcome::Made);
    ASSERT_EQ(m_icons.make(u"other"_s, true), Outcome::Made);

    EXPECT_TRUE(m_icons.remove(u"a\"%/é"_s));

    EXPECT_EQ(files(u"copies"_s), QStringList{ u"other"_s });
    EXPECT_EQ(files(u"applications"_s).size(), 1);
    EXPECT_EQ(files(u"Desktop"_s), QStringList{ u"other.desktop"_s });
    EXPECT_FALSE(m_icons.remove(u"a\"%/é"_s));
    EXPECT_FALSE(m_icons.remove(u".."_s));
    EXPECT_TRUE(QFile::exists(path(u"program"_s)));
}

TEST_F(DropIconsTest, WhatIsNotOursStaysAsItIs)
{
    const QByteArray foreign = "[Desktop Entry]\nName=x\n";
    write(path(u"copies/x"_s), foreign);
    write(launcherPath(u"y"_s), foreign);
    write(path(u"Desktop/z.desktop"_s), foreign);
    ASSERT_TRUE(QFile::link(path(u"nowhere"_s), path(u"Desktop/w.desktop"_s)));

    for (const QString& name : { u"x"_s, u"y"_s, u"z"_s, u"w"_s }) {
        EXPECT_EQ(m_icons.make(name, true), Outcome::AlreadyThere) << name.toStdString();
    }
    EXPECT_FALSE(m_icons.remove(u"x"_s));
    EXPECT_EQ(m_icons.make(u"z"_s, false), Outcome::Made);
    EXPECT_TRUE(m_icons.remove(u"z"_s));

    EXPECT_EQ(read(path(u"copies/x"_s)), foreign);
    EXPECT_EQ(read(launcherPath(u"y"_s)), foreign);
    EXPECT_EQ(read(path(u"Desktop/z.desktop"_s)), foreign);
    EXPECT_EQ(files(u"copies"_s), QStringList{ u"x"_s });
    EXPECT_EQ(files(u"applications"_s).size(), 1);
    EXPECT_FALSE(QFileInfo::exists(path(u"nowhere"_s)));
}

TEST_F(DropIconsTest, AnIconWhoseLinkWasRemovedByHandCanBeMadeAgain)
{
    ASSERT_EQ(m_icons.make(u"a"_s, true), Outcome::Made);
    const QByteArray launcher = read(launcherPath(u"a"_s));
    ASSERT_TRUE(QFile::remove(path(u"copies/a"_s)));
    write(launcherPath(u"a"_s), launcher + "Comment[de]=old\n");

    EXPECT_EQ(m_icons.make(u"a"_s, true), Outcome::Made);

    EXPECT_EQ(read(launcherPath(u"a"_s)), launcher);
    EXPECT_EQ(read(path(u"Desktop/a.desktop"_s)), launcher);
    EXPECT_TRUE(m_icons.remove(u"a"_s));
    EXPECT_EQ(files(u"applications"_s) + files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, AnotherIconsLauncherStandsInTheWay)
{
    ASSERT_EQ(m_icons.make(u"a"_s, false), Outcome::Made);
    const QByteArray launcher = read(launcherPath(u"a"_s));
    write(path(u"Desktop/b.desktop"_s), launcher);
    write(launcherPath(u"c"_s), launcher);

    EXPECT_EQ(m_icons.make(u"b"_s, true), Outcome::AlreadyThere);
    EXPECT_EQ(m_icons.make(u"c"_s, false), Outcome::AlreadyThere);

    EXPECT_EQ(files(u"copies"_s), QStringList{ u"a"_s });
    EXPECT_EQ(read(path(u"Desktop/b.desktop"_s)), launcher);
}

TEST_F(DropIconsTest, AnIconIsMadeOnce)
{
    EXPECT_EQ(m_icons.make(u"a"_s, false), Outcome::Made);
    const QByteArray launcher = read(launcherPath(u"a"_s));

    EXPECT_EQ(m_icons.make(u"a"_s, true), Outcome::AlreadyThere);

    EXPECT_EQ(read(launcherPath(u"a"_s)), launcher);
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, AnIconOfWhichAPartCannotBeMadeIsNotMade)
{
    write(path(u"applications"_s), "no folder");

    EXPECT_EQ(m_icons.make(u"a"_s, true), Outcome::NotWritable);

    EXPECT_EQ(files(u"copies"_s), QStringList());
    EXPECT_EQ(files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, WithoutALinkNothingOfAnIconIsMade)
{
    const DropIcons icons(
        path(u"program"_s),
        { .links = u"/proc/nowhere"_s, .launchers = path(u"applications"_s), .desktop = path(u"Desktop"_s) });

    EXPECT_EQ(icons.make(u"a"_s, true), Outcome::NotWritable);

    EXPECT_EQ(files(u"applications"_s) + files(u"Desktop"_s), QStringList());
}

TEST_F(DropIconsTest, AnIconThatCannotBePutOnTheDesktopIsNotMade)
{
    const DropIcons icons(
        path(u"program"_s),
        { .links = path(u"copies"_s), .launchers = path(u"applications"_s), .desktop = u"/proc/nowhere"_s });

    EXPECT_EQ(icons.make(u"a"_s, true), Outcome::NotWritable);

    EXPECT_EQ(files(u"copies"_s) + files(u"applications"_s), QStringList());
}

TEST_F(DropIconsTest, AnIconWhoseLauncherCannotBeRemovedStaysListedUntilItCan)
{
    ASSERT_EQ(m_icons.make(u"a"_s, false), Outcome::Made);
    const auto setMode = [this](const QString& name, mode_t mode) {
        ASSERT_EQ(::chmod(QFile::encodeName(path(name)).constData(), mode), 0);
    };
    setMode(QString(), 0755);
    setMode(u"copies"_s, 0777);
    setMode(u"applications"_s, 0555);
    {
        // Root may remove anything: as far as files go, be somebody else.
        const auto before = static_cast<uid_t>(::setfsuid(65534));
        const auto restore = qScopeGuard([before] { ::setfsuid(before); });

        EXPECT_FALSE(m_icons.remove(u"a"_s));
        EXPECT_EQ(m_icons.icons().size(), 1);
    }
    setMode(u"applications"_s, 0755);

    EXPECT_TRUE(m_icons.remove(u"a"_s));
    EXPECT_EQ(files(u"copies"_s) + files(u"applications"_s), QStringList());
}

TEST_F(DropIconsTest, ANameThatIsNotPossibleMakesNothing)
{
    for (const QString& name : { u""_s, u"a/../b"_s, u"Quillbox"_s, QString(248, u'x') }) {
        EXPECT_EQ(m_icons.make(name, true), Outcome::NameNotPossible) << name.toStdString();
    }
    EXPECT_EQ(files(u"copies"_s), QStringList());
    EXPECT_EQ(m_icons.make(QString(247, u'x'), true), Outcome::Made);
}

} // namespace
