#include "SleepInhibitor.h"

#include "Printers.h"
#include "PrivateBus.h"
#include "WaitFor.h"

#include <QDBusContext>

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// The names are those of the interfaces.
// NOLINTBEGIN(readability-identifier-naming)

/// Gives locks that last until they are closed.
class LoginManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    ~LoginManager() override { closeOurEnd(); }

    QStringList asked;

    /// Whether the lock given last is still held.
    bool isLocked()
    {
        char byte = 0;
        return m_ourEnd >= 0 && ::read(m_ourEnd, &byte, 1) != 0;
    }

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why, const QString& mode)
    {
        asked.append(QStringList{ what, who, why, mode }.join(u", "_s));
        closeOurEnd();
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
        m_ourEnd = ends[0];
        QDBusUnixFileDescriptor lock(ends[1]); // Takes a copy.
        ::close(ends[1]);
        return lock;
    }

private:
    void closeOurEnd()
    {
        if (m_ourEnd >= 0) {
            ::close(m_ourEnd);
        }
    }

    int m_ourEnd = -1;
};

class PowerManager final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PowerManagement.Inhibit")

public:
    QStringList asked;

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    uint Inhibit(const QString& who, const QString& why)
    {
        asked.append(u"Inhibit "_s + who + u", "_s + why);
        return 42;
    }
    void UnInhibit(uint cookie) { asked.append(u"UnInhibit %1"_s.arg(cookie)); }
};
// NOLINTEND(readability-identifier-naming)

namespace {

class SleepInhibitorTest : public ::testing::Test {
protected:
    void serveLoginManager() { m_bus.serve(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s, m_loginManager); }
    void servePowerManager()
    {
        m_bus.serve(u"org.freedesktop.PowerManagement"_s, u"/org/freedesktop/PowerManagement/Inhibit"_s,
                    m_powerManager);
    }

    PrivateBus m_bus; ///< Stands for both buses.
    LoginManager m_loginManager;
    PowerManager m_powerManager;
    SleepInhibitor m_inhibitor{ [this] { return m_bus.connection(); }, [this] { return m_bus.connection(); },
                                u"Quillbox"_s, u"Files are being uploaded"_s };
};

TEST_F(SleepInhibitorTest, TheLoginManagersLockIsHeldAsLongAsWanted)
{
    serveLoginManager();

    m_inhibitor.setInhibited(true);
    ASSERT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    m_inhibitor.setInhibited(true);
    m_inhibitor.setInhibited(false);

    EXPECT_TRUE(waitFor([this] { return !m_loginManager.isLocked(); }));
    EXPECT_EQ(m_loginManager.asked, QStringList{ u"sleep:idle, Quillbox, Files are being uploaded, block"_s });
}

TEST_F(SleepInhibitorTest, ALockThatComesTooLateIsLetGo)
{
    serveLoginManager();

    m_inhibitor.setInhibited(true);
    m_inhibitor.setInhibited(false);

    ASSERT_TRUE(waitFor([this] { return !m_loginManager.asked.isEmpty(); }));
    EXPECT_TRUE(waitFor([this] { return !m_loginManager.isLocked(); }));
}

TEST_F(SleepInhibitorTest, AWishThatComesAndGoesWhileTheAnswerIsDueAsksOnce)
{
    serveLoginManager();

    m_inhibitor.setInhibited(true);
    m_inhibitor.setInhibited(false);
    m_inhibitor.setInhibited(true);

    EXPECT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    EXPECT_EQ(m_loginManager.asked.size(), 1);
}

TEST_F(SleepInhibitorTest, WithoutALoginManagerThePowerManagerIsAsked)
{
    servePowerManager();

    m_inhibitor.setInhibited(true);
    ASSERT_TRUE(waitFor([this] { return m_powerManager.asked.size() == 1; }));
    m_inhibitor.setInhibited(false);

    ASSERT_TRUE(waitFor([this] { return m_powerManager.asked.size() == 2; }));
    EXPECT_EQ(m_powerManager.asked,
              (QStringList{ u"Inhibit Quillbox, Files are being uploaded"_s, u"UnInhibit 42"_s }));
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
    serveLoginManager();
    EXPECT_TRUE(waitFor([&inhibitor, this] {
        inhibitor.setInhibited(false);
        inhibitor.setInhibited(true);
        return inhibitor.findChildren<QObject*>().isEmpty() && m_loginManager.asked.isEmpty();
    }));

    EXPECT_TRUE(m_loginManager.asked.isEmpty());
    EXPECT_EQ(connections, 2);
}

} // namespace

#include "SleepInhibitorTest.moc"
