#include "SleepInhibitor.h"

#include "DesktopServices.h"
#include "Printers.h"
#include "PrivateBus.h"
#include "WaitFor.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class SleepInhibitorTest : public ::testing::Test {
protected:
    PrivateBus m_bus; ///< Stands for both buses.
    LoginManager m_loginManager;
    PowerManager m_powerManager;
    SleepInhibitor m_inhibitor{ [this] { return m_bus.connection(); }, [this] { return m_bus.connection(); },
                                u"Quillbox"_s, u"Files are being uploaded"_s };
};

TEST_F(SleepInhibitorTest, TheLoginManagersLockIsHeldAsLongAsWanted)
{
    m_bus.serve(m_loginManager);

    m_inhibitor.setInhibited(true);
    ASSERT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    m_inhibitor.setInhibited(true);
    m_inhibitor.setInhibited(false);

    EXPECT_TRUE(waitFor([this] { return !m_loginManager.isLocked(); }));
    EXPECT_EQ(m_loginManager.asked, QStringList{ u"sleep:idle, Quillbox, Files are being uploaded, block"_s });
}

TEST_F(SleepInhibitorTest, ALockThatComesTooLateIsLetGo)
{
    m_bus.serve(m_loginManager);

    m_inhibitor.setInhibited(true);
    m_inhibitor.setInhibited(false);

    ASSERT_TRUE(waitFor([this] { return !m_loginManager.asked.isEmpty(); }));
    EXPECT_TRUE(waitFor([this] { return !m_loginManager.isLocked(); }));
}

TEST_F(SleepInhibitorTest, ARequestThatComesAndGoesWhileTheAnswerIsDueAsksOnce)
{
    m_bus.serve(m_loginManager);

    m_inhibitor.setInhibited(true);
    m_inhibitor.setInhibited(false);
    m_inhibitor.setInhibited(true);

    EXPECT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    EXPECT_EQ(m_loginManager.asked.size(), 1);
}

TEST_F(SleepInhibitorTest, WithoutALoginManagerThePowerManagerIsAsked)
{
    m_bus.serve(m_powerManager);

    m_inhibitor.setInhibited(true);
    ASSERT_TRUE(waitFor([this] { return m_powerManager.asked.size() == 1; }));
    m_inhibitor.setInhibited(false);

    ASSERT_TRUE(waitFor([this] { return m_powerManager.asked.size() == 2; }));
    EXPECT_EQ(m_powerManager.asked,
              (QStringList{ u"Inhibit Quillbox, Files are being uploaded"_s, u"UnInhibit 42"_s }));
}

TEST_F(SleepInhibitorTest, WithoutASystemBusThePowerManagerIsAsked)
{
    m_bus.serve(m_powerManager);
    SleepInhibitor inhibitor([] { return QDBusConnection(u"no such bus"_s); }, [this] { return m_bus.connection(); },
                             u"Quillbox"_s, u"Files are being uploaded"_s);

    inhibitor.setInhibited(true);
    ASSERT_TRUE(waitFor([this] { return m_powerManager.asked.size() == 1; }));
    inhibitor.setInhibited(false);

    ASSERT_TRUE(waitFor([this] { return m_powerManager.asked.size() == 2; }));
    EXPECT_EQ(m_powerManager.asked,
              (QStringList{ u"Inhibit Quillbox, Files are being uploaded"_s, u"UnInhibit 42"_s }));
}

TEST_F(SleepInhibitorTest, WithoutAnyBusNothingIsAskedForTwice)
{
    int connections = 0;
    const auto noBus = [&connections] {
        ++connections;
        return QDBusConnection(u"no such bus"_s);
    };
    SleepInhibitor inhibitor(noBus, noBus, u"Quillbox"_s, u"Files are being uploaded"_s);

    inhibitor.setInhibited(true);
    inhibitor.setInhibited(false);
    inhibitor.setInhibited(true);

    EXPECT_EQ(connections, 2);
    EXPECT_TRUE(inhibitor.findChildren<QObject*>().isEmpty());
}

TEST_F(SleepInhibitorTest, WhereNobodyCanItIsNotAskedForAgain)
{
    int connections = 0;
    SleepInhibitor inhibitor(
        [this, &connections] {
            ++connections;
            return m_bus.connection();
        },
        [this, &connections] {
            ++connections;
            return m_bus.connection();
        },
        u"Quillbox"_s, u"Files are being uploaded"_s);
    EXPECT_EQ(connections, 0);
    inhibitor.setInhibited(true);
    ASSERT_TRUE(waitFor([&connections] { return connections == 2; }));
    m_bus.serve(m_loginManager);
    EXPECT_TRUE(waitFor([&inhibitor, this] {
        inhibitor.setInhibited(false);
        inhibitor.setInhibited(true);
        return inhibitor.findChildren<QObject*>().isEmpty() && m_loginManager.asked.isEmpty();
    }));

    EXPECT_TRUE(m_loginManager.asked.isEmpty());
    EXPECT_EQ(connections, 2);
}

} // namespace
