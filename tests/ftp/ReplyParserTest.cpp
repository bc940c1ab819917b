#include "ReplyParser.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Parsed {
    int code;
    QByteArray text;
    QByteArray earlier = {};

    bool operator==(const Parsed&) const = default;
};

void PrintTo(const Parsed& parsed, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << parsed.code << " \"" << parsed.text.toStdString() << "\" behind \"" << parsed.earlier.toStdString() << '"';
}

/// Feeds @p bytes in pieces of @p size.
std::vector<Parsed> parse(const QByteArray& bytes, qsizetype size)
{
    ReplyParser parser;
    std::vector<Parsed> replies;
    for (qsizetype at = 0; at < bytes.size(); at += size) {
        parser.append(bytes.sliced(at, std::min(size, bytes.size() - at)));
        while (const std::optional<Reply> reply = parser.next()) {
            replies.push_back({ reply->code, reply->text, reply->earlier });
        }
    }
    return replies;
}

TEST(ReplyParserTest, ReadsRepliesHoweverTheyAreCut)
{
    struct Row {
        const char* why;
        QByteArray bytes;
        std::vector<Parsed> expected;
    };
    const std::vector<Row> rows = {
        { "one line", "220 Ready\r\n", { { 220, "Ready" } } },
        { "a bare line feed", "220 Ready\n", { { 220, "Ready" } } },
        { "no text", "226\r\n", { { 226, "" } } },
        { "no text but a blank", "226 \r\n", { { 226, "" } } },
        { "two replies in one piece", "331 Password\r\n230 In\r\n", { { 331, "Password" }, { 230, "In" } } },
        { "several lines", "220-Hello\r\n220-there\r\n220 Ready\r\n", { { 220, "Ready", "220-Hello\n220-there\n" } } },
        { "other codes inside",
          "220-Hello\r\n530 not you\r\n 220 nor this\r\n220 Ready\r\n",
          { { 220, "Ready", "220-Hello\n530 not you\n 220 nor this\n" } } },
        { "one line behind several",
          "230-Hello\r\n230 In\r\n200 Binary\r\n",
          { { 230, "In", "230-Hello\n" }, { 200, "Binary" } } },
        { "the same code without a blank inside",
          "211-Features\r\n211x\r\n211-still\r\n211 End\r\n",
          { { 211, "End", "211-Features\n211x\n211-still\n" } } },
        { "an empty line inside", "220-Hello\r\n\r\n220 Ready\r\n", { { 220, "Ready", "220-Hello\n\n" } } },
        { "an empty line between", "220 Ready\r\n\r\n331 Password\r\n", { { 220, "Ready" }, { 331, "Password" } } },
        { "no separator", "220Ready\r\n", { { 220, "eady" } } },
        { "bytes that are no text", QByteArray("257 \"/\0\xff\"\r\n", 11), { { 257, QByteArray("\"/\0\xff\"", 5) } } },
        { "the last line unfinished", "220 Ready\r\n331 Pass", { { 220, "Ready" } } },
        { "a multi-line reply unfinished", "220-Hello\r\n221 no\r\n", {} },
    };
    for (const Row& row : rows) {
        for (qsizetype size = 1; size <= row.bytes.size(); ++size) {
            SCOPED_TRACE(std::string(row.why) + ", in pieces of " + std::to_string(size));
            EXPECT_EQ(parse(row.bytes, size), row.expected);
        }
    }
}

TEST(ReplyParserTest, IsBrokenByWhatIsNoReply)
{
    for (const QByteArray& bytes : { QByteArray("HTTP/1.1 400 Bad Request\r\n"), QByteArray("SSH-2.0-Server\r\n"),
                                     QByteArray("22\r\n"), QByteArray("600 What\r\n"), QByteArray("099 What\r\n") }) {
        SCOPED_TRACE(bytes.toStdString());
        ReplyParser parser;

        parser.append(bytes);

        EXPECT_FALSE(parser.next());
        EXPECT_TRUE(parser.isBroken());
    }
}

TEST(ReplyParserTest, ALineOfTheLimitIsReadAndALongerOneBreaks)
{
    ReplyParser atLimit;
    atLimit.append("220 " + QByteArray(ReplyParser::lineLimit - 4, 'x') + "\n");
    EXPECT_TRUE(atLimit.next());

    ReplyParser endless;
    endless.append("220 " + QByteArray(ReplyParser::lineLimit - 4, 'x'));
    EXPECT_FALSE(endless.next());
    EXPECT_FALSE(endless.isBroken());
    endless.append("x");
    EXPECT_FALSE(endless.next());
    EXPECT_TRUE(endless.isBroken());
}

TEST(ReplyParserTest, AReplyOfManyLinesIsReadUpToTheLimitAndBreaksBeyond)
{
    const QByteArray line = "220-" + QByteArray(1020, 'x') + "\r\n"; // 1,024 bytes and its end.
    for (const bool isTooLong : { false, true }) {
        ReplyParser parser;
        parser.append("220-Hello\r\n");
        for (qsizetype length = 0; length < ReplyParser::replyLimit; length += 1024) {
            parser.append(line);
            EXPECT_FALSE(parser.next());
        }
        EXPECT_FALSE(parser.isBroken());
        if (isTooLong) {
            parser.append("-\r\n");
        }

        parser.append("220 Ready\r\n");

        EXPECT_EQ(parser.next().has_value(), !isTooLong);
    }
}

TEST(ReplyParserTest, OfALongReplyThoseLinesAreKeptThatThereIsRoomFor)
{
    const QByteArray large(ReplyParser::earlierLimit, 'x');
    const QByteArray half(ReplyParser::earlierLimit / 2 - 1, 'y');
    ReplyParser parser;
    parser.append("226-First\r\n" + large + "\r\n" + half + "\r\n" + half + "\r\nLast\r\n226 Done\r\n");

    const std::optional<Reply> reply = parser.next();

    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->earlier == "226-First\n" + half + "\nLast\n");

    parser.append("226-Fits\r\n" + large.chopped(10) + "\r\n226 Done\r\n");
    EXPECT_EQ(parser.next()->earlier.size(), ReplyParser::earlierLimit);
    parser.append("226-Large\r\n" + large.chopped(10) + "\r\n226 Done\r\n");
    EXPECT_EQ(parser.next()->earlier.size(), 10);
}

TEST(ReplyParserTest, TheLimitOfLinesIsThatOfOneReply)
{
    ReplyParser parser;
    for (int i = 0; i < 3; ++i) {
        for (qsizetype length = 0; length < ReplyParser::replyLimit / 2; length += 1024) {
            parser.append("220-" + QByteArray(1020, 'x') + "\r\n");
        }
        parser.append("220 Ready\r\n");
        EXPECT_TRUE(parser.next());
    }
}

TEST(ReplyParserTest, NothingIsReadBehindABreak)
{
    ReplyParser parser;
    parser.append("nonsense\r\n220 Ready\r\n");

    EXPECT_FALSE(parser.next());
    EXPECT_FALSE(parser.next());
}

} // namespace
