#include "BusName.h"

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(BusNameTest, EveryNameHasAValidBusNameOfItsOwn)
{
    static const QRegularExpression valid(u"^[A-Za-z_][A-Za-z0-9_-]*(\\.[A-Za-z_][A-Za-z0-9_-]*)+$"_s);
    QStringList seen;
    for (const QString& name :
         { u"Quillbox"_s, u"quillbox"_s, u"Scans"_s, u"2024 Fotos/ü"_s, u""_s, QString(255, u'x'), u"Quillbox2"_s,
           u"Quillbox 2"_s, u"Quillbox.app"_s, u"a.b"_s, u"a-b"_s, u"..."_s, u"io.github.quillbox.Quillbox"_s }) {
        const QString bus = busName(name);

        EXPECT_TRUE(valid.match(bus).hasMatch()) << bus.toStdString();
        EXPECT_LE(bus.size(), 255);
        EXPECT_FALSE(seen.contains(bus)) << name.toStdString();
        EXPECT_EQ(bus, busName(name));
        seen.append(bus);
    }
}

} // namespace
