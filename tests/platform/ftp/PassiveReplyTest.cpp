#include "PassiveReply.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace {

TEST(PassiveReplyTest, ReadsThePortOfAnExtendedPassiveReply)
{
    struct Row {
        const char* text;
        std::optional<quint16> port;
    };
    for (const Row& row : {
             Row{ "Entering Extended Passive Mode (|||6446|)", 6446 },
             Row{ "Entering Extended Passive Mode (|||6446|).", 6446 },
             Row{ "(!!!65535!)", 65535 },
             Row{ "(|||1|)", 1 },
             Row{ "(|||0|)", std::nullopt },
             Row{ "(|||65536|)", std::nullopt },
             Row{ "(|||99999999999999999999|)", std::nullopt },
             Row{ "(|||6446)", std::nullopt },
             Row{ "(||6446|)", std::nullopt },
             Row{ "(|1|127.0.0.1|6446|)", std::nullopt },
             Row{ "(|||", std::nullopt },
             Row{ "(|||6446", std::nullopt },
             Row{ "(", std::nullopt },
             Row{ "", std::nullopt },
             Row{ "6446", std::nullopt },
         }) {
        EXPECT_EQ(portOfExtendedPassiveReply(row.text), row.port) << row.text;
    }
}

TEST(PassiveReplyTest, ReadsThePortOfAPassiveReply)
{
    struct Row {
        const char* text;
        std::optional<quint16> port;
    };
    for (const Row& row : {
             Row{ "Entering Passive Mode (127,0,0,1,25,46)", 6446 },
             Row{ "Entering Passive Mode 127,0,0,1,25,46", 6446 },
             Row{ "Entering Passive Mode (10,9,8,7,25,46).", 6446 },
             Row{ "=127,0,0,1,25,46", 6446 },
             Row{ "mode 2 (127,0,0,1,25,46)", 6446 },
             Row{ "(127,0,0,1,0,0)", std::nullopt },
             Row{ "(127,0,0,1,256,1)", std::nullopt },
             Row{ "(127,0,0,1,25)", std::nullopt },
             Row{ "(127,0,0,1,25,)", std::nullopt },
             Row{ "", std::nullopt },
         }) {
        EXPECT_EQ(portOfPassiveReply(row.text), row.port) << row.text;
    }
}

TEST(PassiveReplyTest, ReadsTheFolderOfAReply)
{
    EXPECT_EQ(folderOfReply("\"/\" is the current directory"), QByteArray("/"));
    EXPECT_EQ(folderOfReply("\"/home/a b\""), QByteArray("/home/a b"));
    EXPECT_EQ(folderOfReply("\"/a\"\"b\" is current"), QByteArray("/a\"b"));
    EXPECT_EQ(folderOfReply("\"C:\\\" is current"), std::nullopt);
    EXPECT_EQ(folderOfReply("\"/unfinished"), std::nullopt);
    EXPECT_EQ(folderOfReply("\"\" is current"), std::nullopt);
    EXPECT_EQ(folderOfReply("/home is current"), std::nullopt);
    EXPECT_EQ(folderOfReply(""), std::nullopt);
}

} // namespace
