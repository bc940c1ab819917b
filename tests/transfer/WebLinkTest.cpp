#include "WebLink.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(WebLinkTest, IsTheBaseAndTheSamePathBelowTheFolder)
{
    const QString base = u"https://www.example.com/~anna/files"_s;
    const QString folder = u"ftp://host:2121/in/"_s;
    checkRows<QString(QString, QString, QString)>(
        {
            { "file", base, folder, u"ftp://host:2121/in/a.txt"_s, base + u"/a.txt"_s },
            { "base with a slash", base + u'/', folder, u"ftp://host:2121/in/a.txt"_s, base + u"/a.txt"_s },
            { "sub-folder", base, folder, u"ftp://host:2121/in/Photos/2024/a.jpg"_s, base + u"/Photos/2024/a.jpg"_s },
            { "what means something in addresses", base, folder, u"ftp://host:2121/in/50%25%20off;a=1%23%3F&+"_s,
              base + u"/50%25%20off%3Ba%3D1%23%3F%26%2B"_s },
            { "bytes that are no text", base, folder, u"ftp://host:2121/in/caf%E9"_s, base + u"/caf%E9"_s },
            { "letters beyond ASCII", base, folder, u"ftp://host:2121/in/été"_s, base + u"/%C3%A9t%C3%A9"_s },
            { "no base", QString(), folder, u"ftp://host:2121/in/a.txt"_s, QString() },
            { "no folder", base, QString(), u"ftp://host:2121/in/a.txt"_s, QString() },
            { "no item", base, folder, QString(), QString() },
            { "the folder itself", base, folder, folder, QString() },
            { "beside the folder", base, folder, u"ftp://host:2121/into/a.txt"_s, QString() },
            { "another server", base, folder, u"ftp://other/in/a.txt"_s, QString() },
        },
        [](const QString& at, const QString& folderAt, const QString& item) { return webLink(at, folderAt, item); });
}

} // namespace
