#include "FTPPutController.h"
#include "RealServerTest.h"

using namespace Qt::StringLiterals;

namespace {

class PutDelegate final : public StatusRecorder, public FTPPutControllerDelegate {
public:
    float percent = 0;

    void percentDone(float done) override { percent = done; }
    void bytesDone(float /*bytes*/) override { }
    void updateStatus(const QString& status) override { note(status); }
    void uploadDone() override { note(u"uploadDone"_s); }

    WeakRef<PutDelegate> ref() { return m_anchor.ref(this); }

private:
    WeakAnchor m_anchor;
};

class RealPutTest : public RealServerTest {
protected:
    RealPutTest() { m_controller.setDelegate(m_delegate.ref()); }

    /// Uploads the local file at @p path to @p destination and answers the status texts.
    QStringList upload(const QString& path, const QString& destination, const QString& password)
    {
        m_delegate.statuses.clear();
        m_controller.startSend(path, destination, m_server.userName(), password);
        waitFor([this] { return !m_controller.isSending(); });
        return m_delegate.statuses;
    }
    QStringList upload(const QString& path) { return upload(path, m_server.location(), m_server.password()); }

    /// The status texts of an upload that succeeds.
    static QStringList success(const QString& name)
    {
        return { u"Starting put..."_s,          u"Started Put."_s, u"Opened connection"_s,
                 u"Sending \"%1\""_s.arg(name), u"uploadDone"_s,   u"Upload succeeded"_s };
    }

    PutDelegate m_delegate;
    FTPPutController m_controller{ m_streams };
};

TEST_P(RealPutTest, FilesOfEverySizeArriveIdentical)
{
    for (const qsizetype size :
         { qsizetype(0), qsizetype(1), qsizetype(32767), qsizetype(32768), qsizetype(32769), 64 * mebibyte }) {
        const QString name = u"%1 bytes"_s.arg(size);
        const QByteArray bytes = bytesOfSize(size);

        const QStringList statuses = upload(makeFile(name, bytes));

        EXPECT_EQ(statuses, success(name));
        EXPECT_TRUE(holds(m_server.path(name), bytes)) << size;
    }
    EXPECT_EQ(m_delegate.percent, 100);
}

TEST_P(RealPutTest, FilesArriveUnderTheirNamesHoweverAwkward)
{
    for (const QString& name : awkwardNames()) {
        const QStringList statuses = upload(makeFile(name, name.toUtf8()));

        EXPECT_EQ(statuses, success(name));
        EXPECT_TRUE(holds(m_server.path(name), name.toUtf8())) << name.toStdString();
    }
    EXPECT_EQ(QDir(m_server.root()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
              awkwardNames().size());
}

TEST_P(RealPutTest, FilesArriveInFoldersWithAwkwardNames)
{
    for (const QString& name : awkwardNames()) {
        ASSERT_TRUE(QDir(m_server.root()).mkdir(name));

        upload(makeFile(u"a"_s, name.toUtf8()), m_server.location(escaped(name) + u'/'), m_server.password());

        EXPECT_EQ(m_delegate.last(), u"Upload succeeded"_s);
        EXPECT_TRUE(holds(m_server.path(name + u"/a"_s), name.toUtf8())) << name.toStdString();
    }
}

TEST_P(RealPutTest, TheSecondFileGoesOverTheSameControlConnection)
{
    Relay relay(m_server.port());
    for (const QString& name : { u"first"_s, u"second"_s }) {
        upload(makeFile(name, "data"), relay.location(), m_server.password());

        EXPECT_EQ(m_delegate.last(), u"Upload succeeded"_s);
    }

    const Relay::Counts counts = relay.stop();

    EXPECT_EQ(counts.controlConnections, 1);
    EXPECT_EQ(counts.dataConnections, 2);
    EXPECT_EQ(counts.commands.last(4), (QStringList{ u"EPSV"_s, u"STOR"_s, u"EPSV"_s, u"STOR"_s }));
    EXPECT_TRUE(holds(m_server.path(u"second"_s), "data"));
}

TEST_P(RealPutTest, AnUploadReplacesTheFileOfThatNameWhole)
{
    writeFile(m_server.path(u"a"_s), bytesOfSize(100'000));

    const QStringList statuses = upload(makeFile(u"a"_s, "short"));

    EXPECT_EQ(statuses, success(u"a"_s));
    EXPECT_TRUE(holds(m_server.path(u"a"_s), "short"));
}

TEST_P(RealPutTest, AMissingDestinationFolderIsRefused)
{
    const QStringList statuses
        = upload(makeFile(u"a"_s, "data"), m_server.location(u"missing/"_s), m_server.password());

    EXPECT_EQ(statuses.last(), u"FTP error 550; Directory may already exist?"_s);
    EXPECT_FALSE(statuses.contains(u"uploadDone"_s));
    EXPECT_FALSE(QFile::exists(m_server.path(u"a"_s)));
}

TEST_P(RealPutTest, AWrongPasswordIsRefusedAndTheRightOneStillWorks)
{
    const QString file = makeFile(u"a"_s, "data");

    const QStringList refused = upload(file, m_server.location(), u"wrong"_s);
    const QStringList accepted = upload(file);

    EXPECT_EQ(
        refused,
        (QStringList{ u"Starting put..."_s, u"Started Put."_s, u"FTP error 530; Directory may already exist?"_s }));
    EXPECT_EQ(accepted, success(u"a"_s));
}

INSTANTIATE_TEST_SUITE_P(Servers, RealPutTest, testing::ValuesIn(usualServerMakes()), nameOfTest);

} // namespace
