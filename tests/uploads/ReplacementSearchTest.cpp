#include "ReplacementSearch.h"

#include "FakeFTPStream.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "TrustedCertificates.h"
#include "WaitFor.h"

#include <QFile>
#include <QMap>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Place = ReplacementSearch::Found::Place;

/// A server that lists folders, and where the search looks.
class ReplacementSearchTest : public ::testing::Test {
protected:
    // Each stop is counted, also of what is idle.
    ReplacementSearchTest() { NetworkManager::sharedInstance().setNetworkOperationCount(100); }

    static QByteArray row(const QByteArray& name, char type = '-')
    {
        return type + QByteArray("rw-r--r-- 1 u g 5 Jan 1 2024 ") + name + "\r\n";
    }
    /// Looks what @p files replace, and answers "INDEX PLACE" of each, or why it is not known.
    QStringList look(const PathList& files, const PathList& before = {}, const PathList& tries = {})
    {
        ReplacementSearch search(m_controller, { .location = u"ftp://host/in/"_s }, files, before, tries);
        bool hasEnded = false;
        QObject::connect(&search, &ReplacementSearch::ended, &search, [&hasEnded] { hasEnded = true; });
        EXPECT_TRUE(waitFor([&] {
            serveAll();
            return hasEnded;
        }));
        m_fileCount = search.fileCount();
        if (!search.failure().isNull()) {
            return { search.failure() };
        }
        QStringList found;
        for (const ReplacementSearch::Found& each : search.found()) {
            const QString place = each.place == Place::Listed ? u"listed"_s
                : each.place == Place::SentBefore             ? u"before"_s
                : each.place == Place::AwaitingTry            ? u"try"_s
                : each.place == Place::Similar                ? u"similar "_s + each.other
                                                              : u"unlisted"_s;
            found.append(u"%1 %2"_s.arg(each.index).arg(place));
        }
        return found;
    }
    /// Serves all that have not been served yet.
    void serveAll()
    {
        for (; m_served < m_streams.streams().size(); ++m_served) {
            serve(*m_streams.streams()[m_served]);
        }
    }
    QStringList listed() const
    {
        QStringList listed;
        for (const auto& stream : m_streams.streams()) {
            listed.append(stream->location.mid(u"ftp://host/in/"_s.size()));
        }
        return listed;
    }

    FakeStreamFactory m_streams;
    FTPListController m_controller{ m_streams };
    QMap<QString, QByteArray> m_folders; ///< Their rows, by location below the destination; others are not there.
    FTPStreamError m_error{ .domain = FTPStreamError::Domain::FTP,
                            .code = 550,
                            .stage = FTPStreamError::Stage::EnteringFolder };
    QString m_reply = u"550 Not there"_s;
    QString m_shortfall; ///< Of listings.
    qsizetype m_fileCount = 0;

private:
    size_t m_served = 0; ///< So many streams.

    void serve(FakeFTPStream& stream)
    {
        const auto rows = m_folders.constFind(stream.location.mid(u"ftp://host/in/"_s.size()));
        if (rows == m_folders.cend()) {
            stream.reply = m_reply;
            stream.error = m_error;
            stream.send(FTPStreamEvent::ErrorOccurred);
            return;
        }
        stream.sendOpenCompleted();
        stream.reply = u"226 Done"_s;
        stream.shortfall = m_shortfall;
        for (qsizetype at = 0; at < rows->size(); at += FTPListController::bufferSize) {
            stream.sendBytes(rows->mid(at, FTPListController::bufferSize));
        }
        stream.sendEnd();
    }
};

TEST_F(ReplacementSearchTest, FilesThatAreListedAreFoundInTheirOrder)
{
    m_folders[u""_s] = row("c") + row("a") + row("other");

    EXPECT_EQ(look({ u"/x/a"_s, u"/x/b"_s, u"/y/c"_s }), (QStringList{ u"0 listed"_s, u"2 listed"_s }));
    EXPECT_EQ(m_fileCount, 3);
    EXPECT_EQ(listed(), QStringList{ u""_s });
}

TEST_F(ReplacementSearchTest, WhatTurnsOutToBeSentBeforeIsComparedWheneverThatIs)
{
    m_folders[u""_s] = row("a");
    ReplacementSearch search(m_controller, { .location = u"ftp://host/in/"_s }, { u"/x/a"_s, u"/x/b"_s, u"/x/c"_s }, {},
                             {});
    int ends = 0;
    QObject::connect(&search, &ReplacementSearch::ended, &search, [&ends] { ++ends; });
    ASSERT_TRUE(waitFor([this] { return !m_streams.streams().empty(); }));

    search.alsoBefore({ u"/y/c"_s });
    drainEventLoop();
    EXPECT_FALSE(search.isOver());
    serveAll();
    ASSERT_TRUE(waitFor([&] { return ends == 1; }));
    EXPECT_TRUE(search.isOver());
    EXPECT_EQ(search.found().size(), 2);

    search.alsoBefore({ u"/y/b"_s, u"/y/a"_s });
    EXPECT_FALSE(search.isOver());
    ASSERT_TRUE(waitFor([&] { return ends == 2; }));
    EXPECT_TRUE(search.isOver());
    EXPECT_EQ(search.found().size(), 3);
    EXPECT_EQ(search.found()[1].index, 1); // In their order.
    EXPECT_EQ(listed().size(), 1);
}

TEST_F(ReplacementSearchTest, AFolderOfTheNameIsNotReplaced)
{
    m_folders[u""_s] = row("a", 'd') + row("b", 'l');

    EXPECT_EQ(look({ u"/x/a"_s, u"/x/b"_s }), QStringList{ u"1 listed"_s });
}

TEST_F(ReplacementSearchTest, OnlyFoldersThatAreThereAreLookedInto)
{
    m_folders[u""_s] = row("Photos", 'd') + row("Texts");
    m_folders[u"Photos/"_s] = row("2020", 'l') + row("a"); // To a folder, maybe.
    m_folders[u"Photos/2020/"_s] = row("a");

    EXPECT_EQ(look({ u"/x/.//./Photos/2020/a"_s, u"/x/.//./Photos/2021/a"_s, u"/x/.//./Photos/b"_s,
                     u"/x/.//./Photos/empty/"_s, u"/x/.//./Texts/a"_s, u"/x/.//./New/deep/a"_s }),
              QStringList{ u"0 listed"_s });
    EXPECT_EQ(m_fileCount, 5);
    EXPECT_EQ(listed(), (QStringList{ u""_s, u"Photos/"_s, u"Photos/2020/"_s }));
}

TEST_F(ReplacementSearchTest, FoldersAreNoFilesAndWithoutAFileNothingIsLookedAt)
{
    m_folders[u""_s] = row("secret") + row("Photos", 'd');

    EXPECT_EQ(look({ u"/x/.//./secret//"_s, u"/x/.//./Photos/"_s }, { u"/y/secret"_s }), QStringList());
    EXPECT_EQ(m_fileCount, 0);
    EXPECT_EQ(listed(), QStringList());

    EXPECT_EQ(look({ u"/x/.//./secret//"_s, u"/x/secret"_s }), QStringList{ u"1 listed"_s });
    EXPECT_EQ(m_fileCount, 1);
}

TEST_F(ReplacementSearchTest, WhereNobodyIsLetInNothingIsReplaced)
{
    EXPECT_EQ(look({ u"/x/a"_s, u"/x/.//./Photos/a"_s }), QStringList());
    EXPECT_EQ(listed(), QStringList{ u""_s });
}

TEST_F(ReplacementSearchTest, AListingThatFailsLeavesAllUnknown)
{
    m_folders[u""_s] = row("Photos", 'd') + row("a");
    m_error.stage = FTPStreamError::Stage::Acting;
    EXPECT_EQ(look({ u"/x/a"_s, u"/x/.//./Photos/a"_s }), QStringList{ u"550 Not there"_s });

    m_error = { .domain = FTPStreamError::Domain::Silent };
    m_reply = u"250 Done"_s;
    EXPECT_EQ(look({ u"/x/.//./Photos/a"_s }), QStringList{ u"Stream open error"_s });

    m_error = { .domain = FTPStreamError::Domain::FTP, .code = 421, .stage = FTPStreamError::Stage::EnteringFolder };
    m_reply = u"421 Not now"_s;
    EXPECT_EQ(look({ u"/x/.//./Photos/a"_s }), QStringList{ m_reply });

    m_streams.refusesCreation = true;
    EXPECT_EQ(look({ u"/x/a"_s }), QStringList{ u"Can not create network connection."_s });
}

TEST_F(ReplacementSearchTest, SoDoesAServerThatIsNotTrustedAndTheWordsSayWhy)
{
    m_error = { .domain = FTPStreamError::Domain::Certificate };
    EXPECT_EQ(look({ u"/x/a"_s }), QStringList{ u"the server’s certificate is not trusted"_s });

    TrustedCertificates& trusted = TrustedCertificates::standard();
    ASSERT_TRUE(trusted.trust(u"host"_s, 21, QByteArray(32, 'f')));
    EXPECT_EQ(look({ u"/x/a"_s }),
              QStringList{ u"the server has shown another certificate than the one that is trusted"_s });
    EXPECT_TRUE(QFile::remove(trusted.filePath()));
}

TEST_F(ReplacementSearchTest, SoDoesOneOfWhichTheServerSaysThatItIsNotWhole)
{
    m_shortfall = u"226-Output truncated to 2000 matches"_s;
    for (const QByteArray& rows : { QByteArray(), row("b"), row("a") }) {
        m_folders[u""_s] = rows;
        EXPECT_EQ(look({ u"/x/a"_s }), QStringList{ m_shortfall });
    }
    m_shortfall.clear();
    m_folders[u""_s] = "+r,s280,\ta\r\n";
    EXPECT_EQ(look({ u"/x/a"_s }), QStringList{ u"a line of the server’s list cannot be read: +r,s280,\ta"_s });
    m_folders[u""_s] = "/bin/ls: .: Permission denied\r\n";
    EXPECT_EQ(look({ u"/x/a"_s }), QStringList{ u"/bin/ls: .: Permission denied"_s });
}

TEST_F(ReplacementSearchTest, WhatIsSentBeforeIsReplacedToo)
{
    m_folders[u""_s] = row("c");

    EXPECT_EQ(look({ u"/x/a"_s, u"/x/b"_s, u"/y/a"_s, u"/x/.//./Photos/b"_s, u"/y/c"_s },
                   { u"/z/b"_s, u"/z/.//./Photos/a"_s, u"/z/.//./Photos/b/"_s, u"/z/c"_s }),
              (QStringList{ u"1 before"_s, u"2 before"_s, u"4 before"_s }));
}

TEST_F(ReplacementSearchTest, SoIsWhatWaitsForAnotherTry)
{
    m_folders[u""_s] = row("c");

    EXPECT_EQ(look({ u"/x/a"_s, u"/x/b"_s, u"/x/c"_s, u"/x/d"_s, u"/x/.//./Photos/d"_s }, { u"/z/b"_s },
                   { u"/z/b"_s, u"/z/c"_s, u"/z/D"_s, u"/z/.//./Photos/d"_s, u"/z/.//./a/"_s }),
              (QStringList{ u"1 before"_s, u"2 try"_s, u"3 similar D"_s, u"4 try"_s }));
}

TEST_F(ReplacementSearchTest, NamesThatSomeServersTakeForTheSameMayBe)
{
    m_folders[u""_s] = row("e\xCC\x81t\xC3\xA9") + row("README") + row("caf\xE9") + row("a") + row("b_") + row("c_");

    EXPECT_EQ(look({ u"/x/\u00E9te\u0301"_s, u"/x/readme"_s, u"/x/caf\xDCE9"_s, u"/x/caf\u00E9"_s, u"/x/ a"_s,
                     u"/x/b "_s, u"/x/c"_s }),
              (QStringList{ u"0 similar e\u0301t\u00E9"_s, u"1 similar README"_s, u"2 listed"_s,
                            u"3 similar caf\xDCE9"_s, u"4 similar a"_s, u"5 similar b_"_s }));

    m_folders[u""_s] = "01-01-24  10:00AM  5 README\r\n01-01-24  10:00AM  5 A\r\n";
    EXPECT_EQ(look({ u"/x/readme"_s, u"/x/A"_s }), (QStringList{ u"0 similar README"_s, u"1 listed"_s }));
}

TEST_F(ReplacementSearchTest, SoMayThoseThatSomeServersShorten)
{
    m_folders[u""_s] = row("a") + row("b.. .") + row("c.txt") + row("sub", 'd');
    m_folders[u"sub./"_s] = row("d");

    EXPECT_EQ(
        look({ u"/x/a. ."_s, u"/x/b"_s, u"/x/c.txt."_s, u"/x/.c"_s, u"/x/ctxt"_s, u"/x/.//./sub./d"_s }),
        (QStringList{ u"0 similar a"_s, u"1 similar b.. ."_s, u"2 similar c.txt"_s, u"3 unlisted"_s, u"5 listed"_s }));
}

TEST_F(ReplacementSearchTest, SoMayThoseOfWhichAServerTakesEachByteForACharacter)
{
    m_folders[u""_s] = row("gr\xC3\x83\xC2\xBC\xC3\x83\xC2\x9F.txt") + row("caf\xE9") + row("\xC3\x83\xC2\xA4", 'd')
        + row("\xC3\x84", 'd');
    m_folders[u"%C3%A4/"_s] = row("a");

    EXPECT_EQ(look({ u"/x/gr\u00FC\u00DF.txt"_s, u"/x/caf\u00E9"_s, u"/x/.//./\u00E4/a"_s }),
              (QStringList{ u"0 similar gr\u00C3\u00BC\u00C3\u009F.txt"_s, u"1 similar caf\xDCE9"_s, u"2 listed"_s }));
    EXPECT_EQ(listed().size(), 2) << "each folder once";
}

TEST_F(ReplacementSearchTest, WhatIsListedToTheLetterIsNoMereSuspicion)
{
    m_folders[u""_s] = row("README") + row("Readme") + row("readme");

    EXPECT_EQ(look({ u"/x/readme"_s, u"/x/ReadMe"_s, u"/x/README"_s }, { u"/z/readME"_s }),
              (QStringList{ u"0 listed"_s, u"1 similar readme"_s, u"2 listed"_s }));
}

TEST_F(ReplacementSearchTest, FoldersWhoseNamesMayBeTheSameAreLookedInto)
{
    m_folders[u""_s] = row("PHOTOS", 'd') + row("Photos", 'd') + row("notes", 'd') + row("new_", 'd');
    m_folders[u"photos/"_s] = row("a") + row("B");

    EXPECT_EQ(look({ u"/x/.//./photos/a"_s, u"/x/.//./photos/b"_s, u"/x/.//./Notes/a"_s, u"/x/.//./new /a"_s,
                     u"/x/.//./other/a"_s }),
              (QStringList{ u"0 listed"_s, u"1 similar photos/B"_s }));
    QStringList folders = listed();
    folders.sort();
    EXPECT_EQ(folders, (QStringList{ u""_s, u"Notes/"_s, u"new%20/"_s, u"photos/"_s }));
}

TEST_F(ReplacementSearchTest, OneOfTwoThatAreSentMayReplaceTheOther)
{
    m_folders[u""_s] = row("other");

    EXPECT_EQ(look({ u"/x/a"_s, u"/x/A"_s, u"/x/\u00E9"_s, u"/x/e\u0301"_s, u"/y/A"_s, u"/x/.//./sub/b"_s,
                     u"/x/.//./Sub/b"_s, u"/x/.//./s/c"_s },
                   { u"/z/E\u0301"_s, u"/z/.//./S/C"_s, u"/z/.//./S/other/"_s }),
              (QStringList{ u"1 similar a"_s, u"2 similar E\u0301"_s, u"3 similar \u00E9"_s, u"4 before"_s,
                            u"6 similar sub/b"_s, u"7 similar S/C"_s }));
}

TEST_F(ReplacementSearchTest, NamesThatAreNeverListedMayBeThere)
{
    m_folders[u""_s] = row("a");
    m_folders[u".git/"_s] = row("config");
    EXPECT_EQ(look({ u"/x/.profile"_s, u"/x/.//./.git/config"_s, u"/x/.//./.new/config"_s }),
              (QStringList{ u"0 unlisted"_s, u"1 listed"_s }));

    m_folders[u""_s] = row(".") + row("..") + row("a");
    EXPECT_EQ(look({ u"/x/.profile"_s }), QStringList{ u"0 unlisted"_s });

    m_folders[u""_s] = row(".") + row("..") + row(".other");
    EXPECT_EQ(look({ u"/x/.profile"_s, u"/x/.//./.git/config"_s }), QStringList());
}

TEST_F(ReplacementSearchTest, TheLastConnectionIsLeftToWhatIsSent)
{
    m_folders[u""_s] = row("a");

    look({ u"/x/a"_s });
    EXPECT_FALSE(m_streams.last().calls.contains(u"setStandsBack"_s));
    look({ u"/x/a"_s }, {}, { u"/x/b"_s });
    EXPECT_FALSE(m_streams.last().calls.contains(u"setStandsBack"_s));
    look({ u"/x/a"_s }, { u"/x/b"_s });
    EXPECT_TRUE(m_streams.last().calls.contains(u"setStandsBack"_s));
}

TEST_F(ReplacementSearchTest, OneNameInALongListManyTimesCostsNoMore)
{
    constexpr int many = 20000;
    PathList files;
    for (int i = 0; i < many; ++i) {
        files.append(u"/x/a"_s);
    }
    m_folders[u""_s] = row("a");

    EXPECT_EQ(look(files).size(), many);
}

TEST_F(ReplacementSearchTest, NorDoNamesThatMayAllBeOne)
{
    constexpr int many = 20000;
    const auto name = [](int number) {
        QByteArray letters(16, 'a');
        for (int bit = 0; bit < letters.size(); ++bit) {
            letters[bit] = (number >> bit & 1) == 0 ? 'a' : 'A';
        }
        return letters;
    };
    PathList files;
    for (int i = 0; i < many; ++i) {
        files.append(u"/x/"_s + QString::fromLatin1(name(i)));
        m_folders[u""_s] += row(name(2 * many + i));
    }

    EXPECT_EQ(look(files).size(), many);
}

} // namespace
