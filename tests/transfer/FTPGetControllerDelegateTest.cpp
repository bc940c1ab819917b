#include "FTPGetControllerTest.h"

using namespace Qt::StringLiterals;

namespace {

using FTPGetControllerDelegateTest = FTPGetControllerTest;

TEST_F(FTPGetControllerDelegateTest, AStartFromInsideTheLastReportIsIgnored)
{
    startReceivingFileOfSize(std::nullopt);
    m_delegate->reaction = [this](const QString& call) {
        if (call == u"Download succeeded"_s) {
            start(path(u"next"_s));
        }
    };

    m_streams.last().sendEnd();

    EXPECT_EQ(m_streams.streams().size(), 1U);
    EXPECT_TRUE(m_controller->filePath().isNull());
}

TEST_F(FTPGetControllerDelegateTest, ADelegateMayStopFromInsideAnyReport)
{
    for (const QString& report : { u"Receiving \"remote%20name\""_s, u"percent 100"_s, u"bytes 3"_s }) {
        startReceivingFileOfSize(3);
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller->stopReceiveWithStatus(u"Download Stopped"_s);
            }
        };

        m_streams.last().sendBytes("abc");
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_delegate->calls.last(), u"Download Stopped"_s) << report.toStdString();
        EXPECT_EQ(countChange(), 0);
    }
}

TEST_F(FTPGetControllerDelegateTest, ADelegateMayDestroyTheControllerFromInsideAnyReport)
{
    for (const QString& report :
         { u"Starting get..."_s, u"Started Get."_s, u"Opened connection"_s, u"Receiving \"remote%20name\""_s,
           u"percent 100"_s, u"bytes 3"_s, u"Download succeeded"_s }) {
        makeController();
        NetworkManager::sharedInstance().setNetworkOperationCount(baseCount);
        m_delegate->calls.clear();
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller.reset();
            }
        };

        start(m_file);
        if (m_controller != nullptr) {
            m_streams.last().resourceSize = 3;
            m_streams.last().sendOpenCompleted();
            m_streams.last().sendBytes("abc");
            m_streams.last().sendEnd();
        }
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_controller, nullptr) << report.toStdString();
        EXPECT_EQ(m_delegate->calls.last(), u"Stopped"_s) << report.toStdString();
        EXPECT_EQ(countChange(), report == u"Starting get..."_s ? -1 : 0) << report.toStdString();
    }
}

TEST_F(FTPGetControllerDelegateTest, ReportsToADelegateThatIsGoneAreDropped)
{
    startReceivingFileOfSize(5);
    m_delegate.reset();

    m_streams.last().sendBytes("hello");
    m_streams.last().sendEnd();

    EXPECT_EQ(contents(m_file), "hello");
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerDelegateTest, AStartFromInsideTheFirstReportTakesThePlaceOfTheOtherOne)
{
    m_delegate->reaction = [this](const QString& /*call*/) {
        m_delegate->reaction = nullptr;
        m_controller->startReceive(u"ftp://host/inner"_s, QString(), QString(), path(u"inner"_s));
    };

    start(m_file);

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting get..."_s, u"Starting get..."_s, u"Started Get."_s }));
    ASSERT_EQ(m_streams.streams().size(), 1U);
    EXPECT_EQ(m_streams.last().location, u"ftp://host/inner"_s);
    EXPECT_EQ(m_controller->filePath(), path(u"inner"_s));
    EXPECT_FALSE(QFile::exists(m_file));
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPGetControllerDelegateTest, TheLastReportFindsTheStreamClosedAndTheFileWrittenButStillNamed)
{
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendBytes("hello");
    bool closed = false;
    QString named;
    QByteArray written;
    m_delegate->reaction = [&, this](const QString& call) {
        if (call == u"Download succeeded"_s) {
            closed = !m_controller->isReceiving() && m_streams.last().isClosed();
            named = m_controller->filePath();
            written = contents(m_file);
        }
    };

    m_streams.last().sendEnd();

    EXPECT_TRUE(closed);
    EXPECT_EQ(named, m_file);
    EXPECT_EQ(written, "hello");
    EXPECT_TRUE(m_controller->filePath().isNull());
}

} // namespace
