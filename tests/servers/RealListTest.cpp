#include "FTPListController.h"
#include "RealServerTest.h"

#include <cerrno>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class ListDelegate final : public StatusRecorder, public FTPListControllerDelegate {
public:
    QList<ListingEntry> entries;

    void updateListingStatus(const QString& status) override { note(status); }
    void addListEntries(const QList<ListingEntry>& more) override { entries += more; }

    WeakRef<ListDelegate> ref() { return m_anchor.ref(this); }

private:
    WeakAnchor m_anchor;
};

class RealListTest : public RealServerTest {
protected:
    RealListTest() { m_controller.setDelegate(m_delegate.ref()); }

    /// Lists the server's folder and answers the status texts.
    QStringList list(const QString& path = {})
    {
        m_delegate.statuses.clear();
        m_delegate.entries.clear();
        m_controller.startReceive(m_server.location(path), m_server.userName(), m_server.password());
        waitFor([this] { return !m_controller.isReceiving(); });
        return m_delegate.statuses;
    }

    /// The names listed, sorted, without those of the folder itself and its parent, which some servers send.
    QStringList listedNames() const
    {
        QStringList names;
        for (const ListingEntry& entry : m_delegate.entries) {
            if (entry.name != u"." && entry.name != u"..") {
                names.append(entry.name);
            }
        }
        names.sort();
        return names;
    }

    /// Makes so many empty files on the server and answers their names, sorted. Most of them are further names of the
    /// same files: those are made ten times as fast.
    QStringList makeFiles(int count) const
    {
        QStringList names;
        names.reserve(count);
        QByteArray file;
        for (int i = 0; i < count; ++i) {
            names.append(u"file %1.txt"_s.arg(i, 6, 10, QChar(u'0')));
            const QByteArray path = QFile::encodeName(m_server.path(names.last()));
            if (i % 10'000 == 0) {
                writeFile(m_server.path(names.last()), {});
                file = path;
            } else {
                EXPECT_TRUE(::link(file.constData(), path.constData()) == 0 || errno == EEXIST);
            }
        }
        return names;
    }

    ListDelegate m_delegate;
    FTPListController m_controller{ m_streams };
};

const QStringList listSuccess{ u"Starting list..."_s, u"Started List."_s, u"Opened connection"_s, u"Receiving"_s,
                               u"Listing succeeded"_s };

TEST_P(RealListTest, FoldersOfNoneOneAndAThousandFilesAreListedWhole)
{
    for (const int count : { 0, 1, 1000 }) {
        const QStringList names = makeFiles(count);

        const QStringList statuses = list();

        EXPECT_EQ(statuses, listSuccess);
        EXPECT_EQ(listedNames(), names);
    }
}

TEST_P(RealListTest, AHundredThousandFilesAreListedWhole)
{
    const QStringList names = makeFiles(100'000);

    const QStringList statuses = list();

    EXPECT_EQ(statuses, listSuccess);
    EXPECT_TRUE(listedNames() == names) << listedNames().size();
}

TEST_P(RealListTest, FilesAndFoldersKeepTheirNamesKindsAndSizes)
{
    QStringList names = awkwardNames();
    names.sort();
    for (const QString& name : names) {
        writeFile(m_server.path(name), QByteArray(name.size(), 'x'));
    }
    ASSERT_TRUE(QDir(m_server.root()).mkdir(u"a folder"_s));

    const QStringList statuses = list();

    EXPECT_EQ(statuses, listSuccess);
    for (const ListingEntry& entry : m_delegate.entries) {
        if (names.contains(entry.name)) {
            EXPECT_EQ(entry.type, ListingEntry::plainFileType) << entry.name.toStdString();
            EXPECT_EQ(entry.size, entry.name.size()) << entry.name.toStdString();
            EXPECT_EQ(entry.mode, 0644) << entry.name.toStdString();
        } else {
            EXPECT_EQ(entry.type, ListingEntry::folderType) << entry.name.toStdString();
        }
    }
    names.append(u"a folder"_s);
    names.sort();
    EXPECT_EQ(listedNames(), names);
}

TEST_P(RealListTest, AMissingFolderIsRefusedWithoutItsCode)
{
    const QStringList statuses = list(u"missing/"_s);

    EXPECT_EQ(statuses.last(), u"Error: Check Settings"_s);
    EXPECT_TRUE(m_delegate.entries.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Servers, RealListTest, testing::ValuesIn(usualServerMakes()), nameOfTest);

} // namespace
