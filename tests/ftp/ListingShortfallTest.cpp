#include "ListingShortfall.h"

#include "CheckRows.h"
#include "ReplyParser.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// The first reply in @p bytes, readable as it came.
Reply replyOf(const QByteArray& bytes)
{
    ReplyParser parser;
    parser.append(bytes + "\r\n");
    Reply reply = parser.next().value_or(Reply());
    reply.readable = QString::fromUtf8(QByteArray::number(reply.code) + ' ' + reply.text);
    if (!reply.earlier.isEmpty()) {
        reply.readableEarlier = QString::fromUtf8(reply.earlier.chopped(1)).split(u'\n');
    }
    return reply;
}

QString shortfallOf(const QByteArray& reply)
{
    return shortfallIn(replyOf(reply));
}

TEST(ListingShortfallTest, TheLineIsFoundThatSaysThatAListingIsNotWhole)
{
    checkRows<QString(QByteArray)>(
        {
            { "pure-ftpd, a folder that it may not read",
              "226-Sorry, we were unable to read [.]\r\n226-Options: -l \r\n226 0 matches total",
              u"226-Sorry, we were unable to read [.]"_s },
            { "pure-ftpd, a long one",
              "226-Options: -l \r\n226-Output truncated to 2000 matches\r\n226 2000 matches total",
              u"226-Output truncated to 2000 matches"_s },
            { "vsftpd", "226 Transfer done (but failed to open directory).",
              u"226 Transfer done (but failed to open directory)."_s },
            { "capitals", "226 LIST TRUNCATED", u"226 LIST TRUNCATED"_s },
            { "the program's words", "226-.: Permission denied\r\n226 Done", u"226-.: Permission denied"_s },
            { "two lines", "226-list is incomplete\r\n226 Could not open .", u"226-list is incomplete"_s },
            { "a short form", "250 Couldn't read the directory", u"250 Couldn't read the directory"_s },
            { "a number of items", "226-Listing limited to 5000 entries\r\n226 Done",
              u"226-Listing limited to 5000 entries"_s },
            { "the last of many lines", "226-one\r\n\r\n three\r\n226-Access denied\r\n226 Done",
              u"226-Access denied"_s },
            { "ftpd", "226-. : Not a directory\r\n226 Done", u"226-. : Not a directory"_s },
            { "the disk", "226 Input/output error", u"226 Input/output error"_s },
            { "an end", "226 Listing aborted", u"226 Listing aborted"_s },
            { "a word of two", "226 The list is not complete", u"226 The list is not complete"_s },
            { "other short forms", "226-can't stat x\r\n226 Done", u"226-can't stat x"_s },
            { "one word", "226-cannot access 'x'\r\n226 Done", u"226-cannot access 'x'"_s },
            { "too many", "226 Too many files, not all are shown", u"226 Too many files, not all are shown"_s },
            { "the first of them", "226 Only the first 1000 files are listed",
              u"226 Only the first 1000 files are listed"_s },
            // It may as well be said of the listing.
            { "a name", "226 Listing of 'truncated reports' done", u"226 Listing of 'truncated reports' done"_s },
        },
        shortfallOf);
}

TEST(ListingShortfallTest, OtherWordsSayNoSuchThing)
{
    for (const char* const reply :
         { "226", "226 Transfer complete", "226 Transfer complete.", "226 Directory send OK.", "226 Closing.",
           "226-Options: -l \r\n226 12 matches total", "226-Options: -a -l \r\n226 0 matches total",
           "250 Requested file action okay, completed.", "226 File listing completed", "226 Successfully transferred",
           "226 Transfer finished successfully. Data connection closed.",
           "226-Maximum disk quota limited to 10240 kBytes\r\n    Used disk quota 0 kBytes\r\n226 Transfer complete.",
           "226-Welcome, you are user 3 of 50 allowed\r\n226-You may read all that is here\r\n226 Done",
           "226 Quota: 12 of 100 MB used", "226 ABOR not needed", "226 No files found" }) {
        SCOPED_TRACE(reply);
        EXPECT_EQ(shortfallOf(reply), QString());
    }
}

TEST(ListingShortfallTest, AComplaintAboutWhatCannotBeReadIsKnownAmongTheRows)
{
    checkRows<bool(QByteArray)>(
        {
            { "netkit", "/bin/ls: cannot open directory '.': Permission denied", true },
            { "inetutils", ".: Permission denied", true },
            { "ls: reading directory '.': Input/output error", true },
            { "ls: ", false },
            { ".:", false },
            { "./ls:", false },
            { "total 12", false },
            { "./tools:", false },
            { "tools: a", false },
            { "ls", false },
            { "", false },
        },
        isListingComplaint);
}

} // namespace
