#include "ProgramIdentity.h"

#include "BusName.h"
#include "DropIcons.h"
#include "IconName.h"
#include "Printers.h"
#include "TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QUrl>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

void installLauncher(const QString& name)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
    ASSERT_TRUE(QDir().mkpath(folder));
    QFile file(folder + u'/' + name + u".desktop"_s);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
}

TEST(ProgramIdentityTest, WindowsHaveAnIconOfEveryUsualSize)
{
    const QIcon icon = ProgramIdentity::productIcon();

    for (const int edge : { 16, 22, 24, 32, 48, 64, 128, 256 }) {
        EXPECT_EQ(icon.actualSize(QSize(edge, edge)), QSize(edge, edge));
        const QImage image = icon.pixmap(QSize(edge, edge), 1.0).toImage();
        EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0) << edge;
        EXPECT_EQ(image.pixelColor(edge / 2, edge * 3 / 4).alpha(), 255) << edge;
    }
}

TEST(ProgramIdentityTest, ACopyBelongsToItsOwnLauncherOnceThatIsInstalled)
{
    const TemporaryHome home;
    const QString product = u"io.github.quillbox.Quillbox"_s;
    const QString own = busName(u"Scans"_s);

    EXPECT_EQ(ProgramIdentity::launcher(u"Quillbox"_s), product);
    EXPECT_EQ(ProgramIdentity::launcher(u"Scans"_s), product);
    installLauncher(own);
    EXPECT_EQ(ProgramIdentity::launcher(u"Scans"_s), own);
    EXPECT_EQ(ProgramIdentity::launcher(u"Fotos"_s), product);
}

TEST(ProgramIdentityTest, TheLauncherOfACopyThatWasMadeIsItsOwn)
{
    const TemporaryHome home;
    const DropIcons icons(u"/nowhere"_s, DropIcons::Folders::standard());
    for (const QString& name : { u"Photos/2024"_s, u"été à la mer"_s }) {
        ASSERT_EQ(icons.make({ .name = name }), DropIcons::Outcome::Made);

        const QString launcher = ProgramIdentity::launcher(IconName::fileName(name));

        EXPECT_NE(launcher, ProgramIdentity::launcher(u"Quillbox"_s));
        const QString path = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, launcher + u".desktop"_s);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        EXPECT_TRUE(file.readAll().contains("\nName=" + name.toUtf8() + '\n'));
    }
}

TEST(ProgramIdentityTest, AnIconsOwnPictureIsThatOfItsWindowsAndNotifications)
{
    const TemporaryHome home;
    const DropIcons icons(u"/nowhere"_s, DropIcons::Folders::standard());
    ASSERT_EQ(icons.make({ .name = u"Été %"_s, .picture = { .colour = u"#26a269"_s, .letters = u"É"_s } }),
              DropIcons::Outcome::Made);

    const QIcon icon = ProgramIdentity::icon(u"Été %"_s);

    for (const int edge : { 16, 22, 24, 32, 48, 64, 128, 256 }) {
        EXPECT_EQ(icon.actualSize(QSize(edge, edge)), QSize(edge, edge));
        const QImage image = icon.pixmap(QSize(edge, edge), 1.0).toImage();
        EXPECT_EQ(image.pixelColor(edge - 2 - edge / 20, edge * 3 / 4).name(), u"#26a269"_s) << edge;
    }
    const QUrl image(ProgramIdentity::notificationIcon(u"Été %"_s), QUrl::StrictMode);
    EXPECT_TRUE(image.isValid());
    EXPECT_TRUE(QFile::exists(image.toLocalFile())) << image.toString().toStdString();
    EXPECT_EQ(ProgramIdentity::notificationIcon(u"Other"_s), u"io.github.quillbox.Quillbox"_s);
    EXPECT_TRUE(icons.remove(icons.icons().constFirst()));
}

TEST(ProgramIdentityTest, TheApplicationTakesIconAndLauncher)
{
    const TemporaryHome home;
    const auto restore = qScopeGuard([icon = QGuiApplication::windowIcon()] {
        QGuiApplication::setWindowIcon(icon);
        QGuiApplication::setDesktopFileName({});
    });

    ProgramIdentity::apply(u"Quillbox"_s);

    EXPECT_FALSE(QGuiApplication::windowIcon().isNull());
    EXPECT_EQ(QGuiApplication::desktopFileName(), u"io.github.quillbox.Quillbox"_s);
}

} // namespace
