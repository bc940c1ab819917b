#include "DestinationSettings.h"
#include "FTPManager.h"
#include "WindowServerTest.h"

#include <QJsonObject>
#include <QSet>
#include <QUrl>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct HostileText {
    const char* name;
    QString text;
};

void PrintTo(const HostileText& text, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << text.name;
}

/// Texts that somebody might take for more than texts, wherever a user or a server can bring one in: with the window
/// and with the library. Every command that reaches the server is looked at.
class HostileTextTest : public WindowServerTest, public testing::WithParamInterface<HostileText> {
protected:
    static const QString& hostile() { return GetParam().text; }

    /// What is hostile about those that begin like a name.
    static QString withoutItsBeginning() { return hostile().mid(hostile().startsWith(u'x') ? 1 : 0); }

    static bool isSendable()
    {
        return !hostile().contains(u'\r') && !hostile().contains(u'\n') && !hostile().contains(QChar(u'\0'));
    }

    /// Uses everything that speaks to the server through streams.
    void useWindow(const QString& name)
    {
        const QString destination = DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder();
        m_controller->listFTPDestination();
        settle();
        m_controller->cc().startCreate(name, destination, DestinationSettings::username(),
                                       DestinationSettings::password());
        settle();
        m_controller->items().downloadFile(name, m_directory.path());
        settle();
        m_controller->items().deleteFile(name);
        settle();
        m_controller->items().createFolder(name);
        settle();
    }

    void uploadLocalFile(const QString& name)
    {
        if (name.toUtf8().size() > 255 || name.contains(u'/') || name.contains(QChar(u'\0'))) {
            return; // There is no such file.
        }
        m_controller->uploadFiles({ makeFile(name) });
        settle();
    }

    void useLibrary(const QString& destination, const QString& user, const QString& password, const QString& name)
    {
        const auto record = FMServer::serverWithDestination(destination, user, password);
        record->setPort(m_server.port());
        FTPManager manager;
        // The outcome depends on the text; what counts is what was sent.
        static_cast<void>(manager.contentsOfServer(record.get()));
        static_cast<void>(manager.uploadData("x", name, record.get()));
        static_cast<void>(manager.createNewFolder(name, record.get()));
        static_cast<void>(manager.downloadFile(name, QUrl::fromLocalFile(m_directory.path()), record.get()));
        static_cast<void>(manager.deleteFileNamed(name, record.get()));
        static_cast<void>(manager.chmodFileNamed(name, 755, record.get()));
        static_cast<void>(manager.checkLogin(record.get()));
    }

    void settle()
    {
        EXPECT_TRUE(waitUntilIdle());
        EXPECT_TRUE(waitFor([] {
            answerSheet();
            return shownSheets().isEmpty();
        }));
    }

    /// Whether all that has come to the server are commands of ours, each with an end of ours.
    void expectOurCommandsAlone()
    {
        static const QSet<QByteArray> verbs{ "USER", "PASS", "PWD",  "CWD", "TYPE", "EPSV", "PASV", "SIZE",
                                             "STOR", "RETR", "LIST", "MKD", "DELE", "RMD",  "QUIT", "SITE" };
        for (const QByteArray& line : m_server.commands()) {
            EXPECT_TRUE(verbs.contains(line.split(' ').first())) << line.left(200).toStdString();
            EXPECT_TRUE(!line.startsWith("SITE") || line.startsWith("SITE CHMOD 755 ")) << line.toStdString();
            EXPECT_FALSE(line.contains('\0') || line.contains('\r')) << line.left(200).toStdString();
        }
        for (const QJsonObject& event : m_server.events()) {
            EXPECT_FALSE(event.contains(u"end"_s)) << "a line end that is not ours";
        }
    }

    /// The arguments of all commands of one kind.
    QSet<QByteArray> arguments(const QByteArray& verb)
    {
        QSet<QByteArray> found;
        for (const QByteArray& line : m_server.commands()) {
            if (line.startsWith(verb + ' ')) {
                found.insert(line.mid(verb.size() + 1));
            }
        }
        return found;
    }

    const QString m_destination = u"127.0.0.1/folder"_s;
};

TEST_P(HostileTextTest, AsANameItIsSentToTheLetterOrNotAtAll)
{
    useWindow(hostile());
    uploadLocalFile(hostile());
    useLibrary(m_destination, u"anna"_s, u"secret"_s, hostile());

    expectOurCommandsAlone();
    if (!hostile().contains(u'/')) {
        const QByteArray bytes = hostile().toUtf8();
        const QSet<QByteArray> allowed = isSendable()
            ? QSet<QByteArray>{ bytes, bytes.startsWith('~') ? "./" + bytes : bytes }
            : QSet<QByteArray>();
        for (const QByteArray& verb : { "STOR"_ba, "MKD"_ba, "RETR"_ba, "DELE"_ba, "RMD"_ba }) {
            EXPECT_TRUE((arguments(verb) - allowed).isEmpty()) << verb.toStdString();
        }
        EXPECT_EQ(arguments("MKD").isEmpty(), !isSendable());
    }
}

TEST_P(HostileTextTest, AsALoginItIsSentToTheLetterOrNotAtAll)
{
    set({ { u"Username"_s, hostile() } });
    useWindow(u"name"_s);
    useLibrary(m_destination, hostile(), u"secret"_s, u"name"_s);
    EXPECT_EQ(arguments("USER"), isSendable() ? QSet<QByteArray>{ hostile().toUtf8() } : QSet<QByteArray>());

    set({ { u"Username"_s, u"anna"_s }, { u"Password"_s, hostile() } });
    useWindow(u"name"_s);
    useLibrary(m_destination, u"anna"_s, hostile(), u"name"_s);
    EXPECT_EQ(arguments("PASS").contains(hostile().toUtf8()), isSendable());

    expectOurCommandsAlone();
}

TEST_P(HostileTextTest, AsAFolderItIsEnteredToTheLetterOrNotAtAll)
{
    m_server.on("CWD", { "250 Fine" });
    set({ { u"FTPFolder"_s, hostile() } });
    useWindow(u"name"_s);
    useLibrary(u"127.0.0.1/"_s + hostile(), u"anna"_s, u"secret"_s, u"name"_s);

    expectOurCommandsAlone();
    if (!isSendable()) {
        // A login test enters no folder.
        EXPECT_EQ(m_server.commands(), (QByteArrayList{ "USER anna", "PASS secret", "QUIT" }));
        return;
    }
    // Relative to the login folder; on a connection that is used again, from the root; in the window's conversations
    // with the "/" that ends each destination.
    const QByteArray bytes = hostile().toUtf8();
    QSet<QByteArray> allowed{ bytes, '/' + bytes, bytes + '/' };
    if (bytes.startsWith('~')) {
        allowed.insert("./" + bytes);
    }
    EXPECT_EQ(arguments("CWD") - allowed, QSet<QByteArray>());
    EXPECT_FALSE(arguments("CWD").isEmpty());
    EXPECT_EQ(arguments("STOR"), QSet<QByteArray>{ "name" });
    EXPECT_EQ(arguments("MKD"), QSet<QByteArray>{ "name" });
    EXPECT_EQ(arguments("RETR"), QSet<QByteArray>{ "name" });
}

TEST_P(HostileTextTest, AsPartOfTheWindowsAddressItLeadsNowhere)
{
    const QString host = u"127.0.0.1"_s;
    const QString port = u':' + QString::number(m_server.port());
    m_engine.timeouts().connect = 500ms; // Some are names of hosts, which nobody has.
    for (const QString& text : { hostile(), withoutItsBeginning() }) {
        for (const QString& address :
             { text + host + port, u"127."_s + text + u"0.0.1"_s + port, host + text + port, host + port + text }) {
            SCOPED_TRACE(address.left(100).toStdString());
            set({ { u"Address"_s, address } });

            useWindow(u"name"_s);

            EXPECT_EQ(m_server.connectionCount(), 0);
        }
    }
}

TEST_P(HostileTextTest, AsPartOfTheLibrarysAddressItLeadsNowhereUnlessItNamesAUser)
{
    const QString host = u"127.0.0.1"_s;
    for (const QString& text : { hostile(), withoutItsBeginning() }) {
        for (const QString& address : { text + host, u"127."_s + text + u"0.0.1"_s, host + text }) {
            SCOPED_TRACE(address.left(100).toStdString());

            useLibrary(address + u"/folder"_s, u"anna"_s, u"secret"_s, u"name"_s);

            if (address.endsWith(u'@' + host)) {
                // A user in a location counts for nothing beside that of the record.
                EXPECT_EQ(arguments("USER"), QSet<QByteArray>{ "anna" });
                EXPECT_EQ(arguments("CWD"), QSet<QByteArray>{ "folder" });
                expectOurCommandsAlone();
            } else {
                EXPECT_EQ(m_server.connectionCount(), 0);
            }
            m_server.forgetRecords();
        }
    }
}

std::string nameOfText(const testing::TestParamInfo<HostileText>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HostileTextTest,
    testing::Values(HostileText{ "LineEnd", u"x\r\nSITE INJECTED"_s }, HostileText{ "LineFeed", u"x\nSITE INJECTED"_s },
                    HostileText{ "CarriageReturn", u"x\rSITE INJECTED"_s },
                    HostileText{ "LineEndAtTheEnd", u"x\r\n"_s }, HostileText{ "NUL", u"x\0SITE INJECTED"_s },
                    HostileText{ "EscapedLineEnd", u"x%0d%0aSITE INJECTED"_s }, HostileText{ "EscapedNUL", u"x%00y"_s },
                    // The low bytes of these two are those of a line end.
                    HostileText{ "WideLineEnd", u"x\u560d\u560aSITE INJECTED"_s },
                    HostileText{ "LineSeparator", u"x\u2028SITE INJECTED\u0085"_s },
                    HostileText{ "TypeSuffix", u"x;type=a"_s }, //
                    HostileText{ "Home", u"~"_s }, //
                    HostileText{ "HomeOfRoot", u"~root"_s }, //
                    HostileText{ "Star", u"*"_s }, //
                    HostileText{ "Pipe", u"|id"_s }, //
                    HostileText{ "Option", u"-rf"_s }, //
                    HostileText{ "FolderAbove", u"../x"_s }, //
                    HostileText{ "Quotes", u"a\"b'c`d$(e)"_s }, HostileText{ "TelnetCommand", u"\u00ff\u00f4x"_s },
                    HostileText{ "QueryAndFragment", u"a?b#c"_s }, HostileText{ "Host", u"a@b:c"_s },
                    HostileText{ "User", u"a@"_s }, //
                    HostileText{ "Fragment", u"#c"_s }, //
                    HostileText{ "Query", u"?c"_s }, //
                    HostileText{ "OverLong", QString(5000, u'x') }),
    nameOfText);

} // namespace
