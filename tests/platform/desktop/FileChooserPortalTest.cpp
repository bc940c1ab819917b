#include "FileChooserPortal.h"

#include "DesktopServices.h"
#include "Printers.h"
#include "PrivateBus.h"
#include "WaitFor.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

class FileChooserPortalTest : public ::testing::Test {
protected:
    void open(const QString& folder = {})
    {
        const auto before = m_service.asked.size();
        m_portal.open(
            { .parentWindow = u"x11:1f"_s, .title = u"Upload Files"_s, .acceptLabel = u"Upload"_s, .folder = folder });
        ASSERT_TRUE(waitFor([this, before] { return m_service.asked.size() > before; }));
    }
    void respond(uint code, const QStringList& uris) { m_bus.sendFromService(m_service.response(code, uris)); }

    PrivateBus m_bus;
    FileChooserService m_service;
    FileChooserPortal m_portal{ m_bus.connection() };
    QSignalSpy m_selected{ &m_portal, &FileChooserPortal::filesSelected };
    QSignalSpy m_unavailable{ &m_portal, &FileChooserPortal::unavailable };
};

TEST_F(FileChooserPortalTest, TheDialogIsOfOurWindowAndBeginsWhereItIsTold)
{
    m_bus.serve(m_service);

    open(u"/été"_s);

    EXPECT_EQ(m_service.asked, QStringList{ u"x11:1f: Upload Files"_s });
    EXPECT_EQ(m_service.options.value(u"accept_label"_s).toString(), u"Upload"_s);
    EXPECT_EQ(m_service.options.value(u"multiple"_s).toBool(), true);
    EXPECT_EQ(m_service.options.value(u"current_folder"_s).toByteArray(), QByteArray("/été\0", 7));
}

TEST_F(FileChooserPortalTest, AFileToBeWrittenHasANameToBeginWith)
{
    m_bus.serve(m_service);

    m_portal.open({ .parentWindow = {}, .title = u"Export"_s, .folder = u"/in"_s, .nameToSave = u"table.csv"_s });

    ASSERT_TRUE(waitFor([this] { return m_service.asked == QStringList{ u": Export; save"_s }; }));
    EXPECT_EQ(m_service.options.value(u"current_name"_s).toString(), u"table.csv"_s);
    EXPECT_FALSE(m_service.options.contains(u"multiple"_s));
    EXPECT_FALSE(m_service.options.contains(u"accept_label"_s));
}

TEST_F(FileChooserPortalTest, WhatIsChosenComesAsPathsWithoutWhatIsElsewhere)
{
    m_bus.serve(m_service);
    open();

    respond(0, { u"file:///tmp/a%20b"_s, u"sftp://host/c"_s, u"file:///d"_s });

    ASSERT_TRUE(waitFor([this] { return !m_selected.isEmpty(); }));
    EXPECT_EQ(m_selected.first().first().toStringList(), (QStringList{ u"/tmp/a b"_s, u"/d"_s }));
    EXPECT_TRUE(m_unavailable.isEmpty());
}

TEST_F(FileChooserPortalTest, WhatOthersSayWasChosenIsNotHeard)
{
    m_bus.serve(m_service);
    open();

    m_bus.connection().send(m_service.response(0, { u"file:///secret"_s }));
    m_bus.connection().interface()->isServiceRegistered(FileChooserService::name); // It has gone round.
    respond(0, { u"file:///chosen"_s });

    ASSERT_TRUE(waitFor([this] { return !m_selected.isEmpty(); }));
    EXPECT_EQ(m_selected.first().first().toStringList(), QStringList{ u"/chosen"_s });
}

TEST_F(FileChooserPortalTest, NothingComesOfADialogThatIsCancelledOrOfAnotherOne)
{
    m_bus.serve(m_service);
    open();
    const QString first = m_service.request;
    open(); // The first one goes.
    EXPECT_TRUE(waitFor([&] { return m_service.closed == QStringList{ first }; }));
    const QString second = std::exchange(m_service.request, first);
    respond(0, { u"file:///too/late"_s });
    m_service.request = second;

    respond(1, {});
    open();
    respond(0, { u"file:///chosen"_s });

    ASSERT_TRUE(waitFor([this] { return !m_selected.isEmpty(); }));
    EXPECT_EQ(m_selected.first().first().toStringList(), QStringList{ u"/chosen"_s });
    EXPECT_EQ(m_selected.size(), 1);
}

TEST_F(FileChooserPortalTest, APortalMayChooseThePathOfTheDialog)
{
    m_service.ownPath = u"/org/freedesktop/portal/desktop/request/old/1"_s;
    m_bus.serve(m_service);
    open();
    // The answer to the call has to come first, and the bus has to know what is listened to.
    EXPECT_TRUE(waitFor([this] { return m_portal.findChildren<QObject*>().isEmpty(); }));
    EXPECT_TRUE(m_bus.connection().interface()->isServiceRegistered(FileChooserService::name));

    respond(0, { u"file:///chosen"_s });

    EXPECT_TRUE(waitFor([this] { return !m_selected.isEmpty(); }));
}

TEST_F(FileChooserPortalTest, WithoutAPortalThatIsSaid)
{
    m_portal.open({});

    EXPECT_TRUE(waitFor([this] { return !m_unavailable.isEmpty(); }));
}

TEST_F(FileChooserPortalTest, WithoutABusItIsSaidAtOnce)
{
    FileChooserPortal portal{ QDBusConnection(u"none"_s) };
    const QSignalSpy unavailable(&portal, &FileChooserPortal::unavailable);

    portal.open({});

    EXPECT_EQ(unavailable.size(), 1);
}

} // namespace
