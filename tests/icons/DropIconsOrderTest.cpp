#include "Descriptor.h"
#include "DropIcons.h"
#include "IconSettings.h"
#include "PrivateFile.h"
#include "TemporaryHome.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Outcome = DropIcons::Outcome;

/// Whoever is killed in the middle of a change must not leave an icon that was to have a server of its own and goes to
/// the main one, or settings of one that nobody sees.
class DropIconsOrderTest : public ::testing::Test {
protected:
    DropIconsOrderTest()
    {
        watch(m_folders.links, u"sub-folder icon "_s);
        watch(m_folders.linksWithServer, u"icon "_s);
        watch(QFileInfo(IconSettings::filePath(u"a"_s)).path(), u"settings "_s);
    }

    void watch(const QString& folder, const QString& label)
    {
        EXPECT_TRUE(PrivateFile::makeFolder(folder));
        const int watch
            = ::inotify_add_watch(m_events.get(), QFile::encodeName(folder).constData(), IN_CREATE | IN_DELETE);
        EXPECT_GE(watch, 0);
        m_labels.insert(watch, label);
    }

    /// The files that were made ("+") and removed ("-") since the last call, in order.
    QStringList done()
    {
        std::array<char, 4096> bytes{};
        const ssize_t length = ::read(m_events.get(), bytes.data(), bytes.size());
        QStringList found;
        for (ssize_t at = 0; at < length;) {
            inotify_event event{};
            std::memcpy(&event, bytes.data() + at, sizeof(event));
            const QString name = QString::fromUtf8(bytes.data() + at + sizeof(event));
            found.append(((event.mask & IN_CREATE) != 0 ? u'+' : u'-') + m_labels.value(event.wd) + name);
            at += static_cast<ssize_t>(sizeof(event) + event.len);
        }
        found.removeIf([](const QString& each) { return each.contains(u"unfinished"_s); });
        return found;
    }

    static DropIcons::Wish withServer(const QString& name)
    {
        return { .name = name, .sort = IconSort::OwnServer, .server = QJsonObject{ { u"Address"_s, u"other"_s } } };
    }
    DropIcons::Icon icon() const { return m_icons.icons().value(0); }

    TemporaryHome m_home;
    QTemporaryDir m_folder;
    DropIcons::Folders m_folders = DropIcons::Folders::below(m_folder.path());
    DropIcons m_icons{ u"/nowhere"_s, m_folders };
    Descriptor m_events{ ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC) };
    QHash<int, QString> m_labels;
};

TEST_F(DropIconsOrderTest, TheLinkOfAnIconWithAServerComesFirstAndGoesLast)
{
    ASSERT_EQ(m_icons.make(withServer(u"a"_s)), Outcome::Made);
    EXPECT_EQ(done(), (QStringList{ u"+icon a"_s, u"+settings a.json"_s }));

    ASSERT_EQ(m_icons.change(icon(), { .name = u"b"_s, .sort = IconSort::OwnServer }), Outcome::Made);
    EXPECT_EQ(done(), (QStringList{ u"+icon b"_s, u"+settings b.json"_s, u"-settings a.json"_s, u"-icon a"_s }));

    ASSERT_TRUE(m_icons.remove(icon()));
    EXPECT_EQ(done(), (QStringList{ u"-settings b.json"_s, u"-icon b"_s }));
}

TEST_F(DropIconsOrderTest, AnIconThatChangesItsSortIsOfTheOneWithAServerInBetween)
{
    ASSERT_EQ(m_icons.make({ .name = u"a"_s }), Outcome::Made);
    EXPECT_EQ(done(), QStringList{ u"+sub-folder icon a"_s });

    ASSERT_EQ(m_icons.change(icon(), withServer(u"a"_s)), Outcome::Made);
    EXPECT_EQ(done(), (QStringList{ u"+icon a"_s, u"+settings a.json"_s, u"-sub-folder icon a"_s }));

    ASSERT_EQ(m_icons.change(icon(), { .name = u"a"_s }), Outcome::Made);
    EXPECT_EQ(done(), (QStringList{ u"+sub-folder icon a"_s, u"-settings a.json"_s, u"-icon a"_s }));
}

} // namespace
