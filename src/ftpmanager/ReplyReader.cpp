#include "ReplyReader.h"

#include "ControlSocket.h"
#include "FTPManagerAnswers.h"

#include <array>

std::optional<Reply> ReplyReader::next()
{
    std::array<char, 512> part{};
    while (true) {
        std::optional<Reply> reply = m_parser.next();
        if (reply && !reply->isPreliminary()) {
            return reply;
        }
        if (reply) {
            continue;
        }
        const qint64 count = m_parser.isBroken() || m_text.size() > mostAnswers ? -1 : m_socket.read(part);
        if (count <= 0) {
            return std::nullopt;
        }
        m_text.append(part.data(), count);
        m_parser.append(QByteArrayView(part.data(), count));
    }
}
