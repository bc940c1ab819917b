#pragma once

#include "LineProcess.h"
#include "TestCertificate.h"

#include <QByteArrayList>
#include <QHostAddress>
#include <QJsonObject>
#include <QList>
#include <QTemporaryDir>

#include <functional>
#include <optional>

/// What the scripted server does at one kind of event in place of good behaviour. Texts are bytes: UTF-8 as the test's
/// source spells them. The steps are explained at the head of tests/servers/scripted_server.py.
struct ScriptedRule {
    QByteArray on; ///< A command verb, "*" for any command, or "connect".
    QByteArrayList steps; ///< Such as { "150 Go ahead", "read 1000", "552 Disk full", "data-reset" }.
    QByteArray argument = {}; ///< A regular expression that the command's argument holds.
    int connection = 0; ///< Only on this control connection, counted from 1.
    int nth = 0; ///< The n-th event that fits the rest of the rule, counted from 1.
    int times = 0; ///< Only so often.
    int logins = 0; ///< Only while so many other connections are logged in.
    bool pipelined = false; ///< Only commands that came before the previous one was answered.
};

/// A file that the server has received.
struct StoredFile {
    QByteArray name; ///< Absolute on the server.
    qint64 size = 0;
    QByteArray sha256; ///< In hexadecimal digits.
    bool isComplete = false; ///< The client ended the data connection, and not the server.
};

/// An FTP server in a process of its own that behaves well unless a rule says otherwise, on loopback, with a temporary
/// folder. Any login is accepted.
///
/// The records (commands(), replies(), ...) hold everything that the server had seen and said at the time of the call:
/// what was answered before is among it. They never run the caller's event loop; the waiting functions do.
///
///     ScriptedServer server;
///     server.on("STOR", { "150 Go ahead", "read 1000", "552 Disk full", "data-close" });
///     controller.startSend(path, server.location(u""_s), u"anna"_s, u"secret"_s);
///     ASSERT_TRUE(waitFor([&] { return !controller.isSending(); }));
///     EXPECT_EQ(server.commands().last(), "STOR file");
class ScriptedServer {
public:
    /// @p address is a loopback address. Port 0 is any free one.
    explicit ScriptedServer(const QHostAddress& address = QHostAddress(QHostAddress::LocalHost), quint16 port = 0);
    /// One that also takes encrypted logins and data, and shows @p certificate.
    explicit ScriptedServer(const TestCertificate& certificate);

    quint16 port() const { return m_process.port(); }
    /// Host and port as a user writes them.
    QString address() const;
    /// The text of a location on this server; @p path is escaped already and begins without "/".
    QString location(const QString& path = QString()) const;

    /// From now on @p steps are done at each such @p event.
    void on(const QByteArray& event, const QByteArrayList& steps);
    /// A further rule; it goes before the earlier ones.
    void add(const ScriptedRule& rule);
    /// From now on the server behaves well.
    void forgetRules();
    /// Does @p steps on a connection out of turn, and returns when they are done.
    void act(int connection, const QByteArrayList& steps);
    /// Ends the server: from now on connections are refused. The records stay.
    void stop();

    /// The command lines received, of one control connection or (0) of all, in their order.
    QByteArrayList commands(int connection = 0);
    /// The reply lines sent.
    QByteArrayList replies(int connection = 0);
    /// How many control connections have been opened; how many of them are still open.
    int connectionCount();
    int openConnectionCount();
    /// How many data connections have been opened.
    int dataConnectionCount();
    /// The uploads that have ended in one way or another, in their order.
    QList<StoredFile> storedFiles();
    /// Everything, as the server reports it.
    const QList<QJsonObject>& events();

    /// Forgets all that has been recorded so far, so that a long run does not fill the memory. What counts connections
    /// then counts from here on.
    void forgetRecords();

    /// Waits until a command line equal to @p line, or beginning with it and a blank, has come so many times.
    bool waitForCommand(const QByteArray& line, int times = 1);
    bool waitForReply(const QByteArray& line);
    /// Waits until no control connection is open.
    bool waitForConnectionsClosed();

    /// The folder that is served.
    QString root() const { return m_root.path(); }
    /// A file below root(), by its path there.
    void putFile(const QString& name, const QByteArray& content);
    std::optional<QByteArray> file(const QString& name) const;
    QString pathOf(const QString& name) const { return m_root.filePath(name); }

private:
    void request(const QJsonObject& request, const QString& answer);
    void synchronize();
    void takeEvents();
    void record(const QByteArray& line);
    int countOf(QLatin1StringView event);
    QByteArrayList lines(QLatin1StringView event, int connection);
    bool waitForEvent(const std::function<bool(const QJsonObject&)>& fits, int times = 1);

    /// The arguments for encryption; writes the certificate.
    QStringList tlsArguments(const TestCertificate& certificate) const;

    QTemporaryDir m_root;
    QTemporaryDir m_pemFolder;
    QHostAddress m_address;
    LineProcess m_process;
    QList<QJsonObject> m_events;
    bool m_stopped = false;
};
