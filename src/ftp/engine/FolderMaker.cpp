#include "FolderMaker.h"

#include "ControlConnection.h"

FolderMaker::FolderMaker(ControlConnection& connection, const QByteArray& path)
    : m_connection(connection)
    , m_levels(path.split('/'))
{
    m_levels.removeAll({});
    if (path.startsWith('/') && !m_levels.isEmpty()) {
        m_levels.first().prepend('/');
    }
}

FolderMaker::Verdict FolderMaker::makeNext()
{
    if (m_levels.isEmpty()) {
        return Verdict::Made;
    }
    m_refusal.reset();
    send(FTPVerb::Mkd);
    return Verdict::GoesOn;
}

FolderMaker::Verdict FolderMaker::handleReply(const FTPCommand& command, const Reply& reply)
{
    // What the server says to MKD tells why a level is missing better than what it says to CWD.
    if (!reply.isPositive() && !m_refusal) {
        m_refusal = reply;
    }
    if (command.verb == FTPVerb::Mkd) {
        send(FTPVerb::Cwd);
        return Verdict::GoesOn;
    }
    if (!reply.isPositive()) {
        return Verdict::Refused;
    }
    m_levels.removeFirst();
    return makeNext();
}

/// One command at a time: were MKD sent behind a refused CWD, it would make a folder elsewhere.
void FolderMaker::send(FTPVerb verb)
{
    m_connection.session().folder.reset();
    m_connection.send({ { verb, relativeArgument(m_levels.first()) } });
}
