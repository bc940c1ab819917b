#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

/// A Python program from tests/servers that serves a test for as long as this lives: it prints one line when it is
/// ready, and ends when its stdin closes.
class HelperProcess {
public:
    /// Starts tests/servers/@p program and waits for its line.
    HelperProcess(const QString& program, const QStringList& arguments);
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;
    ~HelperProcess(); ///< Stops.

    /// The words of the line: names and values by turns. Empty when the program has not become ready.
    const QByteArrayList& words() const { return m_words; }
    /// The value after @p name in the line; empty when there is none.
    QString value(const QByteArray& name) const;
    /// Stops the program and answers what it printed after its line.
    QByteArray stop();

private:
    QProcess m_process;
    QByteArrayList m_words;
};
