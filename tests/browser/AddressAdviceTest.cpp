#include "AddressAdvice.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(AddressAdviceTest, NamesWhatIsOdd)
{
    const QList<std::pair<QString, QString>> cases{
        { QString(), u"enter"_s },          { u""_s, u"enter"_s },
        { u" host"_s, u"blank"_s },         { u"sftp://host"_s, u"“sftp://”"_s },
        { u"anna@host"_s, u"user name"_s }, { u"host/in"_s, u"folder"_s },
        { u"host:0"_s, u"not the name"_s },
    };
    for (const auto& [address, advice] : cases) {
        EXPECT_TRUE(addressAdvice(address).startsWith(u"No destination: "_s));
        EXPECT_TRUE(addressAdvice(address).contains(advice)) << address.toStdString();
    }
}

} // namespace
