#pragma once

#include <QByteArray>
#include <QTemporaryFile>

/// A network with nothing but a loopback device, which this thread and all processes that it starts are in from the
/// construction on, for good. Needs root or the right of ordinary users to make namespaces.
class PrivateNetwork {
public:
    PrivateNetwork();

    /// Empty when the network is there, else what is missing.
    const QByteArray& problem() const { return m_problem; }
    /// Whether anything can be reached; at first it can.
    void setUp(bool isUp);
    /// Whether there is a way to everywhere else, through that device; at first there is none.
    void setDefaultRoute(bool isThere);
    /// From now on names mean here what @p lines say, in the form of /etc/hosts. Before anything is looked up.
    void nameHosts(const QByteArray& lines);

private:
    QByteArray m_problem;
    QTemporaryFile m_hosts;
};
