#include "Addressing.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(AddressingTest, TheAppNameIsTheFileNameAsTheUserSeesIt)
{
    checkRows<QString(QString)>(
        {
            { u"/opt/Quillbox.app"_s, u"Quillbox"_s },
            { u"/usr/bin/Quillbox"_s, u"Quillbox"_s },
            { u"Scans.app"_s, u"Scans"_s },
            { u"Reports 1.2"_s, u"Reports 1.2"_s },
            { u"Scans.v2.app"_s, u"Scans.v2"_s },
            { u"Photos:2024.app"_s, u"Photos/2024"_s },
            { u"/opt/.app"_s, u".app"_s },
        },
        Addressing::appName);
}

TEST(AddressingTest, OnlyAForeignNameAddsAFolder)
{
    checkRows<QString(QString)>(
        {
            { u"Quillbox"_s, QString() },
            { u"Quillbox Copy"_s, QString() },
            { u"Quillbox 2"_s, QString() },
            { u"Uploads"_s, u"Uploads"_s },
            { u"quillbox"_s, u"quillbox"_s },
            { u"My Quillbox"_s, u"My Quillbox"_s },
            { u"A/B"_s, u"A/B"_s },
        },
        Addressing::folderFromAppName);
}

TEST(AddressingTest, TheLocationIsAddressFolderAndPath)
{
    const QString nothing;
    checkRows<void(QString, QString, QString, QString, QString)>(
        {
            { nothing, u"in"_s, nothing, nothing, nothing },
            { u""_s, u"in"_s, nothing, nothing, nothing },
            { u"192.0.2.7"_s, nothing, nothing, u"ftp://192.0.2.7"_s, u"ftp://192.0.2.7/"_s },
            { u"192.0.2.7"_s, u""_s, nothing, u"ftp://192.0.2.7/"_s, u"ftp://192.0.2.7/"_s },
            { u"192.0.2.7"_s, u"incoming"_s, u"Scans"_s, u"ftp://192.0.2.7/incoming/Scans"_s,
              u"ftp://192.0.2.7/incoming/Scans/"_s },
            { u"host"_s, nothing, u"Scans"_s, u"ftp://host/Scans"_s, u"ftp://host/Scans/"_s },
            { u"host"_s, u"a/b"_s, nothing, u"ftp://host/a/b"_s, u"ftp://host/a/b/"_s },
            { u"host"_s, u"a b"_s, nothing, u"ftp://host/a%20b"_s, u"ftp://host/a%20b/"_s },
            { u"host"_s, u"é%41#?"_s, nothing, u"ftp://host/%C3%A9%2541%23%3F"_s, u"ftp://host/%C3%A9%2541%23%3F/"_s },
            { u"host"_s, u"/abs"_s, nothing, u"ftp://host/abs"_s, u"ftp://host/abs/"_s },
            { u"host"_s, u"//abs"_s, nothing, u"ftp://host//abs"_s, u"ftp://host//abs/"_s },
            { u"host"_s, nothing, u"file.txt"_s, u"ftp://host/file.txt"_s, u"ftp://host/file.txt/"_s },
            { u"Host.Example"_s, nothing, nothing, u"ftp://Host.Example"_s, u"ftp://Host.Example/"_s },
            { u"host:2121"_s, u"in"_s, nothing, u"ftp://host:2121/in"_s, u"ftp://host:2121/in/"_s },
            { u"[::1]:2121"_s, nothing, nothing, u"ftp://[::1]:2121"_s, u"ftp://[::1]:2121/"_s },
            { u"ftp://host"_s, nothing, nothing, nothing, nothing },
            { u"host/in"_s, nothing, nothing, nothing, nothing },
            { u" host"_s, nothing, nothing, nothing, nothing },
            { u"host"_s, QString(QChar(0xD800)), nothing, nothing, nothing },
        },
        [](const QString& address, const QString& folder, const QString& path, const QString& url,
           const QString& fullPath) {
            expectSame(Addressing::fullURL(address, folder, path), url);
            expectSame(Addressing::fullPath(address, folder, path), fullPath);
        });
}

} // namespace
