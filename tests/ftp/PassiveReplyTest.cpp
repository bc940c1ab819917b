#include "PassiveReply.h"

#include "CheckRows.h"

namespace {

TEST(PassiveReplyTest, ReadsThePortOfAnExtendedPassiveReply)
{
    checkRows<std::optional<quint16>(QByteArray)>(
        {
            { "Entering Extended Passive Mode (|||6446|)", 6446 },
            { "Entering Extended Passive Mode (|||6446|).", 6446 },
            { "(!!!65535!)", 65535 },
            { "(|||1|)", 1 },
            { "(|||0|)", std::nullopt },
            { "(|||65536|)", std::nullopt },
            { "(|||99999999999999999999|)", std::nullopt },
            { "(|||6446)", std::nullopt },
            { "(||6446|)", std::nullopt },
            { "(|1|127.0.0.1|6446|)", std::nullopt },
            { "(|||", std::nullopt },
            { "(|||6446", std::nullopt },
            { "(", std::nullopt },
            { "", std::nullopt },
            { "6446", std::nullopt },
        },
        portOfExtendedPassiveReply);
}

TEST(PassiveReplyTest, ReadsThePortOfAPassiveReply)
{
    checkRows<std::optional<quint16>(QByteArray)>(
        {
            { "Entering Passive Mode (127,0,0,1,25,46)", 6446 },
            { "Entering Passive Mode 127,0,0,1,25,46", 6446 },
            { "Entering Passive Mode (10,9,8,7,25,46).", 6446 },
            { "=127,0,0,1,25,46", 6446 },
            { "mode 2 (127,0,0,1,25,46)", 6446 },
            { "(127,0,0,1,0,0)", std::nullopt },
            { "(127,0,0,1,256,1)", std::nullopt },
            { "(127,0,0,1,25)", std::nullopt },
            { "(127,0,0,1,25,)", std::nullopt },
            { "", std::nullopt },
        },
        portOfPassiveReply);
}

TEST(PassiveReplyTest, ReadsTheFolderOfAReply)
{
    checkRows<std::optional<QByteArray>(QByteArray)>(
        {
            { "\"/\" is the current directory", QByteArray("/") },
            { "\"/home/a b\"", QByteArray("/home/a b") },
            { "\"/a\"\"b\" is current", QByteArray("/a\"b") },
            { "\"C:\\\" is current", std::nullopt },
            { "\"/unfinished", std::nullopt },
            { "\"\" is current", std::nullopt },
            { "/home is current", std::nullopt },
            { "", std::nullopt },
        },
        folderOfReply);
}

} // namespace
