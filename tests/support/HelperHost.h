#pragma once

#include <QString>
#include <QStringList>

/// A process that starts programs of tests/servers/ for this one, by forking: tests/servers/helper_host.py. It ends
/// with this process, and what it has started ends then, too.
class HelperHost {
public:
    /// Starts tests/servers/@p script, in the calling thread's network. Answers the descriptor of a socket, whose other
    /// end is the program's standard input and output. Throws std::runtime_error.
    static int start(const QString& script, const QStringList& arguments);

private:
    HelperHost();

    void request(const QByteArray& message, int descriptor) const;

    int m_requests = -1; ///< A socket; never closed by us.
};
