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

FolderMaker::FolderMaker(ControlConnection& connection, const QByteArray& path, int levels)
    : m_connection(connection)
{
    qsizetype end = path.size();
    for (int level = 0; level < levels && end > 0; ++level) {
        const qsizetype slash = path.lastIndexOf('/', end - 1);
        m_levels.prepend(path.sliced(slash + 1, end - slash - 1));
        end = slash;
    }
    if (levels > 1) {
        m_whole = path.sliced(end + 1);
    }
    if (end >= 0) {
        m_levels.prepend(end == 0 ? QByteArray("/") : path.first(end));
        m_isFirstThere = true;
    }
}

FolderMaker::Verdict FolderMaker::begin()
{
    return goOn();
}

FolderMaker::Verdict FolderMaker::goOn()
{
    if (m_levels.isEmpty()) {
        return Verdict::Made;
    }
    m_refusal.reset();
    if (m_isFirstThere) {
        return send(FTPVerb::Cwd, m_levels.first());
    }
    // Mostly the last level alone is missing.
    return send(FTPVerb::Mkd, m_whole.isNull() ? m_levels.first() : m_whole);
}

FolderMaker::Verdict FolderMaker::handleReply(const FTPCommand& command, const Reply& reply)
{
    if (!m_isFirstThere && !m_whole.isNull()) {
        return handleReplyToWhole(command, reply);
    }
    // What the server says to MKD tells why a level is missing better than what it says to CWD.
    if (!reply.isPositive() && !m_refusal) {
        m_refusal = reply;
    }
    if (command.verb == FTPVerb::Mkd) {
        return send(FTPVerb::Cwd, m_levels.first());
    }
    if (!reply.isPositive()) {
        return Verdict::Refused;
    }
    m_levels.removeFirst();
    m_isFirstThere = false;
    return goOn();
}

FolderMaker::Verdict FolderMaker::handleReplyToWhole(const FTPCommand& command, const Reply& reply)
{
    if (!reply.isPositive()) {
        m_whole = {};
        return goOn();
    }
    return command.verb == FTPVerb::Mkd ? send(FTPVerb::Cwd, m_whole) : Verdict::Made;
}

/// One command at a time: were MKD sent behind a refused CWD, it would make a folder elsewhere.
FolderMaker::Verdict FolderMaker::send(FTPVerb verb, const QByteArray& folder)
{
    m_connection.session().folder.reset();
    m_connection.send({ { verb, relativeArgument(folder) } });
    return Verdict::GoesOn;
}
