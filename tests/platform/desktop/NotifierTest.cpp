#include "Notifier.h"

#include "Printers.h"
#include "PrivateBus.h"
#include "WaitFor.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QSignalSpy>
#include <QVariantMap>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// The names are those of the interface.
// NOLINTBEGIN(readability-identifier-naming)

/// The desktop's service.
class NotificationService final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList shown;
    QList<uint> replaced;
    QVariantMap hints;

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    uint Notify(const QString& application, uint replaces, const QString& /*icon*/, const QString& summary,
                const QString& body, const QStringList& /*actions*/, const QVariantMap& itsHints, int /*timeout*/)
    {
        shown.append(application + u": "_s + summary + u": "_s + body);
        replaced.append(replaces);
        hints = itsHints;
        return 7;
    }
};
// NOLINTEND(readability-identifier-naming)

namespace {

const QString path = u"/org/freedesktop/Notifications"_s;

class NotifierTest : public ::testing::Test {
protected:
    void serve() { m_bus.serve(u"org.freedesktop.Notifications"_s, path, m_service); }
    bool isAnswered() const { return m_notifier.findChildren<QDBusPendingCallWatcher*>().isEmpty(); }
    void showOne()
    {
        const auto before = m_service.shown.size();
        m_notifier.show(u"Done"_s, u"2 files uploaded"_s);
        ASSERT_TRUE(waitFor([this, before] { return m_service.shown.size() > before && isAnswered(); }));
    }
    void invoke(uint id, const QString& action)
    {
        QDBusMessage message = QDBusMessage::createSignal(path, u"org.freedesktop.Notifications"_s, u"ActionInvoked"_s);
        message << id << action;
        m_bus.sendFromService(message);
    }

    PrivateBus m_bus;
    NotificationService m_service;
    Notifier m_notifier{ m_bus.connection(), u"Scans"_s, u"org.example.Scans"_s };
    QSignalSpy m_activated{ &m_notifier, &Notifier::activated };
};

TEST_F(NotifierTest, TheServiceIsToldWhoSaysWhat)
{
    serve();

    showOne();

    EXPECT_EQ(m_service.shown, QStringList{ u"Scans: Done: 2 files uploaded"_s });
    EXPECT_EQ(m_service.hints.value(u"desktop-entry"_s).toString(), u"org.example.Scans"_s);
}

TEST_F(NotifierTest, ANewOneTakesThePlaceOfTheOneBefore)
{
    serve();
    showOne();

    showOne();

    EXPECT_EQ(m_service.replaced, (QList<uint>{ 0, 7 }));
}

TEST_F(NotifierTest, AClickOnItIsReportedAndOneOnAnotherProgramsIsNot)
{
    serve();
    showOne();

    invoke(8, u"default"_s);
    invoke(7, u"other"_s);
    invoke(7, u"default"_s);
    ASSERT_TRUE(waitFor([this] { return !m_activated.isEmpty(); }));
    EXPECT_EQ(m_activated.size(), 1);
}

TEST_F(NotifierTest, WithoutAServiceNothingHappens)
{
    m_notifier.show(u"Done"_s, QString());
    ASSERT_TRUE(waitFor([this] { return isAnswered(); }));

    serve();
    showOne();
    EXPECT_EQ(m_service.replaced, QList<uint>{ 0 });
}

} // namespace

#include "NotifierTest.moc"
