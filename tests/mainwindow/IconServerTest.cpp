#include "IconSettings.h"
#include "PreferencesController.h"
#include "ViewControllerTest.h"

#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QSignalSpy>

namespace {

/// The window of a drop icon that has a server of its own.
class IconServerTest : public ViewControllerTest {
protected:
    IconServerTest()
    {
        store({ { u"Address"_s, u"own"_s },
                { u"FTPFolder"_s, u"there"_s },
                { u"Username"_s, u"bert"_s },
                { u"Password"_s, u"own"_s } });
        IconSettings::use(u"Work"_s);
        startAgain();
    }
    ~IconServerTest() override
    {
        IconSettings::use(QString());
        QDir(QFileInfo(path()).path()).removeRecursively();
    }

    static QString path() { return IconSettings::filePath(u"Work"_s); }
    static void store(const Settings& settings) { ASSERT_TRUE(UserDefaults(path()).store(settings)); }
    QString inForce() const { return m_controller->listing().destination().location; }
    /// Whether the drop area says that nothing can be uploaded.
    bool isLossShown()
    {
        return control<QWidget>("dragAndDropView").accessibleDescription().startsWith(u"Nothing is uploaded"_s);
    }
};

TEST_F(IconServerTest, FilesGoToItsServerWithItsLogin)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();

    EXPECT_EQ(latest(Kind::Upload).location, u"ftp://own/there/a"_s);
    EXPECT_TRUE(latest(Kind::Upload).calls.contains(u"setUserName bert"_s));
    EXPECT_FALSE(isLossShown());
}

TEST_F(IconServerTest, WithoutItsSettingsFilesWaitUntilTheyAreThereAgain)
{
    ASSERT_TRUE(QFile::remove(path()));
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    EXPECT_EQ(inForce(), QString());
    EXPECT_TRUE(isLossShown());
    EXPECT_EQ(count(Kind::Upload), 0);
    EXPECT_EQ(m_controller->queue().size(), 1);

    store({ { u"Address"_s, u"own"_s } });
    tick();

    EXPECT_FALSE(isLossShown());
    EXPECT_EQ(latest(Kind::Upload).location, u"ftp://own/a"_s);
}

TEST_F(IconServerTest, ThatItsSettingsAreGoneIsToldInTheTitleToo)
{
    ASSERT_TRUE(waitFor([this] { return inForce() == u"ftp://own/there/"_s; }));
    QSignalSpy updates(m_controller.get(), &ViewController::updateWindowTitleAndList);

    ASSERT_TRUE(QFile::remove(path()));

    EXPECT_TRUE(waitFor([&updates] { return updates.size() == 1; }));
}

TEST_F(IconServerTest, AChangeOfTheMainSettingsChangesNothing)
{
    tick();
    QSignalSpy changes(&m_controller->listing(), &DestinationListing::destinationChanged);

    set({ { u"Address"_s, u"elsewhere"_s }, { u"Password"_s, u"other"_s } });
    tick();

    EXPECT_EQ(changes.size(), 0);
    EXPECT_EQ(inForce(), u"ftp://own/there/"_s);
}

TEST_F(IconServerTest, WhileTheMainSettingsAreDamagedWhatTheySaidOfReplacingCounts)
{
    set(u"AskBeforeReplacing"_s, true);
    tick();
    QFile settings(UserDefaults::standard().filePath());
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly | QIODevice::Truncate));
    settings.write("{");
    settings.close();
    tick();

    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();

    EXPECT_EQ(m_controller->queue().size(), 0) << "before it is known what is there";
    EXPECT_EQ(count(Kind::Upload), 0);
    m_controller->clearQueue();
}

TEST_F(IconServerTest, ThePreferencesShowItsServer)
{
    m_controller->windows().showPreferences();

    EXPECT_EQ(m_controller->windows().preferences().addressTextField()->text(), u"own"_s);
}

} // namespace
