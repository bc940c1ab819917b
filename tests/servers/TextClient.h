#pragma once

#include <QByteArray>
#include <QTcpSocket>

/// An FTP client that says lines and hears lines, blocking. What does not come is an empty answer.
class TextClient {
public:
    explicit TextClient(quint16 port);

    /// The next line without its end.
    QByteArray hear();
    void say(const QByteArray& line);
    /// Says a line and hears one.
    QByteArray ask(const QByteArray& line);

    void logIn();
    /// Uploads @p content; the last reply.
    QByteArray store(const QByteArray& name, const QByteArray& content);

private:
    QTcpSocket m_socket;
};
