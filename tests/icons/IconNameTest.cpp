#include "IconName.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using IconName::Verdict;

namespace {

TEST(IconNameTest, NamesThatNameNoFolderAreNotPossible)
{
    checkRows<Verdict(QString)>(
        {
            { u""_s, Verdict::Unsuitable },
            { u"  "_s, Verdict::Unsuitable },
            { u"."_s, Verdict::Unsuitable },
            { u"a/../b"_s, Verdict::Unsuitable },
            { u"/a"_s, Verdict::Unsuitable },
            { u"a/"_s, Verdict::Unsuitable },
            { u"a//b"_s, Verdict::Unsuitable },
            { u"a:b"_s, Verdict::Unsuitable },
            { u"a\nb"_s, Verdict::Unsuitable },
            { QString(u'\0'), Verdict::Unsuitable },
            { u"Quillbox"_s, Verdict::ProductsName },
            { QString(248, u'x'), Verdict::TooLong },
            { QString(124, u'é'), Verdict::TooLong },
        },
        [](const QString& name) {
            EXPECT_FALSE(IconName::canBeMade(IconName::judge(name)));
            return IconName::judge(name);
        });
}

TEST(IconNameTest, ANameWithoutAFolderOfItsOwnIsSaidToBeSo)
{
    EXPECT_EQ(IconName::judge(u"Quillbox 2"_s), Verdict::NoFolderOfItsOwn);
    EXPECT_EQ(IconName::judge(u"Quillbox/2"_s), Verdict::NoFolderOfItsOwn);
    EXPECT_EQ(IconName::judge(u"quillbox"_s), Verdict::Good);
    EXPECT_EQ(IconName::judge(u"My Quillbox"_s), Verdict::Good);
    EXPECT_EQ(IconName::judge(QString(247, u'x')), Verdict::Good);
}

TEST(IconNameTest, TheNameOfAFileLeadsBackToTheIcon)
{
    for (const QString& name : { u"Scans"_s, u"Photos/2024"_s, u"x.app"_s, u".app"_s, u" a "_s }) {
        EXPECT_EQ(IconName::ofFile(IconName::fileName(name)), name);
    }
    EXPECT_EQ(IconName::fileName(u"Photos/2024"_s), u"Photos:2024"_s);
    EXPECT_EQ(IconName::fileName(u"x.app"_s), u"x.app.app"_s);
    EXPECT_EQ(IconName::ofFile(u"x.app"_s), QString());
}

} // namespace
