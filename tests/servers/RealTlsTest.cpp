// Encrypted streams against real servers that take nothing unencrypted; two of them take data only in the session of
// the control connection.

#include "ConnectionPool.h"
#include "LoopTurns.h"
#include "RealServerStreams.h"
#include "WaitFor.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <string>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

/// Make and TLS version of a server.
using Parameter = std::tuple<ServerMake, std::string>;

class RealTlsTest : public testing::TestWithParam<Parameter>, protected RealServerStreams {
protected:
    RealTlsTest()
        : RealServerStreams(std::get<ServerMake>(GetParam()), FTPEncryption::Required,
                            QString::fromStdString(std::get<std::string>(GetParam())))
    {
    }
    ~RealTlsTest() override
    {
        m_engine.pool().closeIdle(u"127.0.0.1"_s, m_server->port());
        EXPECT_TRUE(waitFor([this] { return m_engine.pool().connectionCount() == 0; }));
    }

    static constexpr qsizetype mebibyte = qsizetype(1024) * 1024;
};

TEST_P(RealTlsTest, FilesGoThereAndBackOverOneControlConnection)
{
    for (const qsizetype size : { qsizetype(0), qsizetype(1), qsizetype(16384), qsizetype(100'000), 32 * mebibyte }) {
        SCOPED_TRACE(size);
        const QByteArray bytes = bytesOfSize(size);

        EXPECT_EQ(upload(u"file"_s, bytes), u"end"_s);
        EXPECT_TRUE(serverHolds(u"file"_s, bytes));
        EXPECT_EQ(download(u"file"_s), u"end"_s);
        EXPECT_TRUE(m_recorder.data == bytes);
    }
    EXPECT_EQ(m_engine.pool().connectionCount(), 1);
}

TEST_P(RealTlsTest, FoldersAreMadeAndListed)
{
    EXPECT_EQ(createFolder(u"sub"_s), u"created"_s);
    EXPECT_TRUE(QDir(m_server->path(u"sub"_s)).exists());
    EXPECT_EQ(list(u"sub/"_s), u"end"_s);
    EXPECT_FALSE(m_recorder.data.contains("file"));
    EXPECT_EQ(upload(u"sub/file"_s, "x"), u"end"_s);

    EXPECT_EQ(list(u"sub/"_s), u"end"_s);

    EXPECT_TRUE(m_recorder.data.contains("file"));
    EXPECT_EQ(m_engine.pool().connectionCount(), 1);
}

TEST_P(RealTlsTest, RefusalsHaveTheirCodesAndFurtherTransfersGoOn)
{
    const QString refused = download(u"missing"_s);

    EXPECT_TRUE(refused.startsWith(u"FTP 55"_s)) << refused.toStdString();
    EXPECT_TRUE(upload(u"missing/file"_s, "x").startsWith(u"FTP 55"_s));
    EXPECT_EQ(upload(u"file"_s, "x"), u"end"_s);
}

TEST_P(RealTlsTest, AWrongPasswordIsRefused)
{
    m_password = u"wrong"_s;

    EXPECT_EQ(upload(u"file"_s, "x"), u"FTP 530"_s);
}

TEST_P(RealTlsTest, ACertificateThatNobodyTrustsIsRefused)
{
    m_trusted.clear();

    EXPECT_EQ(upload(u"file"_s, "x"), u"certificate"_s);
    EXPECT_FALSE(QFile::exists(m_server->path(u"file"_s)));
}

TEST_P(RealTlsTest, ManySmallFilesFollowEachOther)
{
    for (int i = 0; i < 30; ++i) {
        ASSERT_EQ(upload(u"file %1"_s.arg(i), bytesOfSize(4096 + i)), u"end"_s) << i;
        ASSERT_TRUE(serverHolds(u"file %1"_s.arg(i), bytesOfSize(4096 + i)));
    }
    EXPECT_EQ(m_engine.pool().connectionCount(), 1);
}

TEST_P(RealTlsTest, NoTurnOfTheLoopIsLongWhileConnectionsAreMade)
{
    const LoopTurns turns;

    for (int i = 0; i < 5; ++i) {
        FTPEngine engine; // Each makes a control connection and a data connection.
        EngineStreamFactory streams(engine);
        m_recorder.data = "x";
        ASSERT_EQ(run(streams.createUploadStream(location(u"file"_s), 1)), u"end"_s);
        m_recorder.close();
    }

    RecordProperty("longestTurn", std::to_string(turns.longestMilliseconds()));
    EXPECT_LT(turns.longestMilliseconds(), 10);
}

TEST_P(RealTlsTest, ADownloadThatIsGivenUpCostsNoSession)
{
    ASSERT_EQ(upload(u"large"_s, bytesOfSize(8 * mebibyte)), u"end"_s);
    m_recorder.isIdle = true;
    start(m_streams.createDownloadStream(location(u"large"_s)));
    EXPECT_TRUE(m_recorder.waitFor(u"bytes"_s));
    m_recorder.close();
    m_recorder.isIdle = false;

    EXPECT_EQ(download(u"large"_s), u"end"_s);
    EXPECT_TRUE(m_recorder.data == bytesOfSize(8 * mebibyte));
}

std::string nameOfTest(const testing::TestParamInfo<Parameter>& info)
{
    const std::string version = std::get<std::string>(info.param);
    return nameOf(std::get<ServerMake>(info.param)).toStdString() + (version == "1.2" ? "Tls12" : "Tls13");
}

INSTANTIATE_TEST_SUITE_P(Servers, RealTlsTest,
                         testing::Combine(testing::ValuesIn(usualServerMakes()), testing::Values("1.2", "1.3")),
                         nameOfTest);

} // namespace
