#pragma once

#include "ReplyParser.h"

#include <QByteArray>

#include <optional>

class ControlSocket;

/// Reads the replies of a conversation one after another. Blocking, for a worker thread.
class ReplyReader {
public:
    /// @p socket outlives the reader.
    explicit ReplyReader(ControlSocket& socket)
        : m_socket(socket)
    {
    }

    /// The next final reply; std::nullopt when the server sends none, or more than anybody needs.
    std::optional<Reply> next();
    /// Everything that has come, as it came.
    const QByteArray& text() const { return m_text; }

private:
    ControlSocket& m_socket;
    ReplyParser m_parser;
    QByteArray m_text;
};
