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

INSTANTIATE_TEST_SUITE_P(Servers, RealCreateTest, testing::ValuesIn(usualServerMakes()), nameOfTest);

} // namespace
