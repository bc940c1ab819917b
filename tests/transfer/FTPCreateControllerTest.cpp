#include "FTPCreateController.h"

#include "TransferTest.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace {

class CreateDelegate final : public RecordingDelegate, public FTPCreateControllerDelegate {
public:
    void updateStatus(const QString& status) override { note(status); }

    WeakRef<CreateDelegate> ref() { return m_anchor.ref(this); }

private:
    WeakAnchor m_anchor;
};

class FTPCreateControllerTest : public TransferTest {
protected:
    FTPCreateControllerTest() { m_controller->setDelegate(m_delegate->ref()); }

    void start(const QString& name) { m_controller->startCreate(name, u"ftp://host/dir/"_s, u"me"_s, u"secret"_s); }

    void startCreating()
    {
        start(u"new"_s);
        m_streams.last().sendOpenCompleted();
        m_delegate->calls.clear();
    }

    std::unique_ptr<CreateDelegate> m_delegate = std::make_unique<CreateDelegate>();
    std::unique_ptr<FTPCreateController> m_controller = std::make_unique<FTPCreateController>(m_streams);
};

TEST_F(FTPCreateControllerTest, ASuccessfulCreationReportsItsStepsInOrder)
{
    start(u"new"_s);
    EXPECT_TRUE(m_controller->isCreating());
    EXPECT_NE(m_controller->networkStream(), nullptr);
    EXPECT_EQ(m_controller->delegate().get(), m_delegate.get());
    EXPECT_EQ(countChange(), 1);
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendEndEncountered();

    EXPECT_EQ(
        m_delegate->calls,
        (QStringList{ u"Starting create..."_s, u"Started Create."_s, u"Opened connection"_s, u"Create succeeded"_s }));
    EXPECT_FALSE(m_controller->isCreating());
    EXPECT_EQ(m_controller->networkStream(), nullptr);
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_TRUE(m_streams.last().written.isEmpty());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPCreateControllerTest, TheLocationEndsAsTheNameDoes)
{
    start(u"new folder"_s);
    EXPECT_EQ(m_streams.last().kind, FakeFTPStream::Kind::Folder);
    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/new%20folder"_s);
    EXPECT_EQ(m_streams.last().calls, (QStringList{ u"setUserName me"_s, u"setPassword secret"_s, u"open"_s }));
    m_controller->stopCreateWithStatus(u"end"_s);

    start(u"new/"_s);
    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/new/"_s);
}

TEST_F(FTPCreateControllerTest, AStartWhileAFolderIsCreatedOnlyAlertsASecondLater)
{
    startCreating();

    start(u"other"_s);

    EXPECT_EQ(m_streams.streams().size(), 1U);
    EXPECT_TRUE(m_delegate->calls.isEmpty());
    EXPECT_TRUE(m_alerts.isEmpty());
    passAlertDelays();
    EXPECT_EQ(m_alerts, QStringList{ u"A network operation is already running.|Try again when it completes."_s });
    EXPECT_TRUE(m_streams.last().isOpen());
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPCreateControllerTest, WhatFormsNoLocationIsAnInvalidURLWithoutAStop)
{
    for (const auto& [name, destination] :
         { std::pair{ u"new"_s, u"http://host/dir"_s }, std::pair{ u"new"_s, QString() },
           std::pair{ QString(QChar(0xd800)), u"ftp://host"_s } }) {
        m_delegate->calls.clear();
        m_controller->startCreate(name, destination, u"me"_s, u"secret"_s);

        EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting create..."_s, u"Invalid URL"_s }));
    }
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPCreateControllerTest, WithoutAStreamTheStopIsReportedAndCounted)
{
    m_streams.refusesCreation = true;

    start(u"new"_s);

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting create..."_s, u"Can not create network connection."_s }));
    EXPECT_EQ(countChange(), -1);
}

TEST_F(FTPCreateControllerTest, ARefusedLoginStopsBeforeTheOpening)
{
    m_streams.next.refusesUserName = true;
    start(u"new"_s);
    m_streams.next.refusesUserName = false;
    m_streams.next.refusesPassword = true;
    start(u"new"_s);

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Starting create..."_s, u"Could not send username."_s, u"Starting create..."_s,
                            u"Could not send password."_s }));
    EXPECT_FALSE(m_streams.last().calls.contains(u"open"_s));
    EXPECT_EQ(countChange(), -2);
}

TEST_F(FTPCreateControllerTest, ARefusalNamesTheReplyCode)
{
    startCreating();

    m_streams.last().sendRefusal(550);

    EXPECT_EQ(m_delegate->calls, QStringList{ u"FTP error 550; Directory may already exist?"_s });
    EXPECT_FALSE(m_controller->isCreating());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPCreateControllerTest, AnyOtherErrorIsAStreamOpenError)
{
    startCreating();

    m_streams.last().sendOtherError();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stream open error"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPCreateControllerTest, OtherEventsAreIgnored)
{
    startCreating();

    m_streams.last().send(FTPStreamEvent::HasSpaceAvailable);
    m_streams.last().send(FTPStreamEvent::HasBytesAvailable);
    m_streams.last().send(static_cast<FTPStreamEvent>(32));

    EXPECT_TRUE(m_delegate->calls.isEmpty());
    EXPECT_TRUE(m_controller->isCreating());
    EXPECT_TRUE(m_streams.last().written.isEmpty());
}

TEST_F(FTPCreateControllerTest, AStopFromOutsideReportsItsOwnText)
{
    startCreating();

    m_controller->stopCreateWithStatus(u"Create Stopped"_s);
    m_streams.last().sendEndEncountered();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Create Stopped"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPCreateControllerTest, DestroyingStopsWithStopped)
{
    startCreating();

    m_controller.reset();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stopped"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPCreateControllerTest, ReportsToADelegateThatIsGoneAreDropped)
{
    startCreating();
    m_delegate.reset();

    m_streams.last().sendEndEncountered();

    EXPECT_FALSE(m_controller->isCreating());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPCreateControllerTest, AStartFromInsideTheFirstReportTakesThePlaceOfTheOtherOne)
{
    m_delegate->reaction = [this](const QString& /*call*/) {
        m_delegate->reaction = nullptr;
        start(u"inner"_s);
    };

    start(u"new"_s);

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Starting create..."_s, u"Starting create..."_s, u"Started Create."_s }));
    ASSERT_EQ(m_streams.streams().size(), 1U);
    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/inner"_s);
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPCreateControllerTest, AnotherFolderMayBeCreatedFromInsideTheLastReport)
{
    startCreating();
    bool creatingAtReport = true;
    m_delegate->reaction = [this, &creatingAtReport](const QString& call) {
        if (call == u"Create succeeded"_s) {
            creatingAtReport = m_controller->isCreating();
            start(u"next"_s);
        }
    };

    m_streams.last().sendEndEncountered();

    EXPECT_FALSE(creatingAtReport);
    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Create succeeded"_s, u"Starting create..."_s, u"Started Create."_s }));
    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/next"_s);
    EXPECT_TRUE(m_streams.last().isOpen());
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPCreateControllerTest, ADelegateMayDestroyTheControllerFromInsideAnyReport)
{
    for (const QString& report :
         { u"Starting create..."_s, u"Started Create."_s, u"Opened connection"_s, u"Create succeeded"_s }) {
        m_controller = std::make_unique<FTPCreateController>(m_streams);
        m_controller->setDelegate(m_delegate->ref());
        NetworkManager::sharedInstance().setNetworkOperationCount(baseCount);
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller.reset();
            }
        };

        start(u"new"_s);
        if (m_controller != nullptr) {
            m_streams.last().sendOpenCompleted();
            m_streams.last().sendEndEncountered();
        }
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_controller, nullptr) << report.toStdString();
        EXPECT_EQ(m_delegate->calls.last(), u"Stopped"_s) << report.toStdString();
        EXPECT_EQ(countChange(), report == u"Starting create..."_s ? -1 : 0) << report.toStdString();
    }
}

} // namespace
