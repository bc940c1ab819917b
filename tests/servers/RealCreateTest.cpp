#include "EngineConnections.h"
#include "FTPCreateController.h"
#include "RealServerTest.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

class CreateDelegate final : public StatusRecorder, public FTPCreateControllerDelegate {
public:
    void updateStatus(const QString& status) override { note(status); }

    WeakRef<CreateDelegate> ref() { return m_anchor.ref(this); }

private:
    WeakAnchor m_anchor;
};

class RealCreateTest : public RealServerTest {
protected:
    RealCreateTest() { m_controller.setDelegate(m_delegate.ref()); }

    /// Creates the folder @p name on the server and answers the status texts.
    QStringList create(const QString& name)
    {
        m_delegate.statuses.clear();
        m_controller.startCreate(name, m_server.location(), m_server.userName(), m_server.password());
        waitFor([this] { return !m_controller.isCreating(); });
        return m_delegate.statuses;
    }

    /// Tests the connection to the folder @p path, which is made where it is missing, and answers the end.
    FTPConnectionTestReport createLevels(const QString& path)
    {
        FTPConnectionTestReport last;
        EngineConnections connections(m_engine);
        const auto test = connections.startConnectionTest({ .location = m_server.location(path),
                                                            .userName = m_server.userName(),
                                                            .password = m_server.password(),
                                                            .createsFolder = true },
                                                          [&last](const auto& report) { last = report; });
        EXPECT_TRUE(waitFor([&last] { return isEnd(last.state); }));
        return last;
    }

    CreateDelegate m_delegate;
    FTPCreateController m_controller{ m_streams };
};

const QStringList createSuccess{ u"Starting create..."_s, u"Started Create."_s, u"Opened connection"_s,
                                 u"Create succeeded"_s };

TEST_P(RealCreateTest, AFolderIsCreatedWithAndWithoutASlashAtTheEndOfItsName)
{
    for (const QString& name : { u"plain"_s, u"with slash/"_s }) {
        const QStringList statuses = create(name);

        EXPECT_EQ(statuses, createSuccess);
        EXPECT_TRUE(QFileInfo(m_server.path(name)).isDir()) << name.toStdString();
    }
}

TEST_P(RealCreateTest, FoldersGetTheirNamesHoweverAwkward)
{
    for (const QString& name : awkwardNames()) {
        if (name.contains(u'*')) {
            continue; // proftpd makes no folder of such a name.
        }
        const QStringList statuses = create(name);

        EXPECT_EQ(statuses, createSuccess);
        EXPECT_TRUE(QFileInfo(m_server.path(name)).isDir()) << name.toStdString();
    }
}

TEST_P(RealCreateTest, AnExistingFolderGivesTheTextWithTheServersCode)
{
    ASSERT_TRUE(QDir(m_server.root()).mkdir(u"there"_s));
    for (const QString& name : { u"there"_s, u"there/"_s }) {
        const QStringList statuses = create(name);

        EXPECT_EQ(statuses.last(), u"FTP error 550; Directory may already exist?"_s);
    }
}

TEST_P(RealCreateTest, AFolderIsMadeWithTheLevelsThatAreMissing)
{
    ASSERT_TRUE(QDir(m_server.root()).mkdir(u"there"_s));
    ASSERT_TRUE(QFile(makeFile(u"file"_s, "x")).rename(m_server.path(u"there/file"_s)));

    for (int i = 0; i < 2; ++i) { // The second time all is there.
        EXPECT_EQ(createLevels(u"there/%C3%A9t%C3%A9/two%20blanks/"_s).state, FTPConnectionTestState::Works);
        EXPECT_TRUE(QFileInfo(m_server.path(u"there/été/two blanks"_s)).isDir());
    }

    const FTPConnectionTestReport refused = createLevels(u"there/file/below"_s);
    EXPECT_EQ(refused.state, FTPConnectionTestState::FolderNotCreated);
    EXPECT_TRUE(refused.reply.startsWith(u"5"_s)) << refused.reply.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Servers, RealCreateTest, testing::ValuesIn(usualServerMakes()), nameOfTest);

} // namespace
