#include "FTPListControllerTest.h"

using namespace Qt::StringLiterals;

namespace {

using FTPListControllerDelegateTest = FTPListControllerTest;

TEST_F(FTPListControllerDelegateTest, ADelegateMayDestroyTheControllerFromInsideAnyReport)
{
    for (const QString& report : { u"Starting list..."_s, u"Started List."_s, u"Opened connection"_s, u"Receiving"_s,
                                   u"entries a"_s, u"Listing parse failed"_s }) {
        replaceController(parseUpToBadLine);
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller.reset();
            }
        };

        start();
        if (m_controller != nullptr) {
            m_streams.last().sendOpenCompleted();
            m_streams.last().sendBytes(line("a"));
            m_streams.last().sendBytes(line("b") + "bad\r\n");
        }
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_controller, nullptr) << report.toStdString();
        EXPECT_EQ(m_delegate->calls.last(), u"Stopped"_s) << report.toStdString();
        EXPECT_EQ(countChange(), report == u"Starting list..."_s ? -1 : 0) << report.toStdString();
    }
}

TEST_F(FTPListControllerDelegateTest, ReportsToADelegateThatIsGoneAreDropped)
{
    startReceiving();
    m_delegate.reset();

    m_streams.last().sendBytes(line("a"));
    m_streams.last().sendEnd();

    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerDelegateTest, EntriesBeforeAParseErrorDoNotJoinAListingStartedFromItsReport)
{
    replaceController(parseUpToBadLine);
    startReceiving();
    m_delegate->reaction = [this](const QString& call) {
        if (call == u"Listing parse failed"_s) {
            start();
        }
    };

    m_streams.last().sendBytes(line("old") + "bad\r\n");
    m_streams.last().sendBytes(line("new"));

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Receiving"_s, u"Listing parse failed"_s, u"Starting list..."_s, u"Started List."_s,
                            u"Receiving"_s, u"entries new"_s }));
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPListControllerDelegateTest, ADelegateMayStopFromInsideAnyReport)
{
    for (const QString& report : { u"Started List."_s, u"Opened connection"_s, u"Receiving"_s, u"entries a"_s }) {
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller->stopReceiveWithStatus(u"List Stopped"_s);
            }
        };

        start();
        m_streams.last().sendOpenCompleted();
        m_streams.last().sendBytes(line("a"));
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_delegate->calls.last(), u"List Stopped"_s) << report.toStdString();
        EXPECT_FALSE(m_controller->isReceiving()) << report.toStdString();
        EXPECT_EQ(countChange(), 0) << report.toStdString();
    }
}

TEST_F(FTPListControllerDelegateTest, AStartFromInsideTheFirstReportTakesThePlaceOfTheOtherOne)
{
    m_delegate->reaction = [this](const QString& /*call*/) {
        m_delegate->reaction = nullptr;
        m_controller->startReceive(u"ftp://host/inner/"_s, QString(), QString());
    };

    start();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting list..."_s, u"Starting list..."_s, u"Started List."_s }));
    ASSERT_EQ(m_streams.streams().size(), 1U);
    EXPECT_EQ(m_streams.last().location, u"ftp://host/inner/"_s);
    EXPECT_EQ(countChange(), 1);
}

} // namespace
