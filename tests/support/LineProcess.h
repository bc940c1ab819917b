#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QLocalSocket>
#include <QString>
#include <QStringList>

#include <optional>

/// One of the programs in tests/servers/: it prints lines, takes lines, and lives as long as its standard input is
/// open, so that it cannot outlive the test. It belongs to the thread that made it and needs no event loop there.
/// Whatever goes wrong throws std::runtime_error with what the program said, which fails the test.
class LineProcess {
public:
    /// Starts tests/servers/@p script. The first line that it prints, names and values by turns, tells that it is
    /// ready, which is awaited here, and at least its port.
    LineProcess(const QString& script, const QStringList& arguments);
    LineProcess(const LineProcess&) = delete;
    LineProcess& operator=(const LineProcess&) = delete;
    ~LineProcess(); ///< Stops it and waits for its end.

    quint16 port() const { return m_port; }
    /// The value after @p name in the first line; null when there is none.
    QString value(const QByteArray& name) const;
    /// Sends @p line and its end.
    void writeLine(const QByteArray& line);
    /// The next line without its end, if one has come already.
    std::optional<QByteArray> takeLine();
    /// The next line without its end, waited for.
    QByteArray waitForLine();
    /// Stops it; what it still printed can be taken. May be called again.
    void stop();

private:
    bool isRunning() const;
    [[noreturn]] void fail(const QString& what);

    QString m_script;
    QLocalSocket m_socket; ///< Its standard input and output.
    QByteArrayList m_words; ///< Of the first line.
    quint16 m_port = 0;
};
