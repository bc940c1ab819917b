#pragma once

#include <QtGlobal>

#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>

/// An option of this program's end of the connection to @p port, by getsockopt(); nothing when there is none.
inline std::optional<int> optionOfSocketTo(quint16 port, int level, int name)
{
    for (int socket = 0; socket < 1000; ++socket) {
        sockaddr_in peer{};
        socklen_t length = sizeof peer;
        int value = 0;
        socklen_t valueLength = sizeof value;
        if (::getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &length) == 0 && peer.sin_port == htons(port)
            && ::getsockopt(socket, level, name, &value, &valueLength) == 0) {
            return value;
        }
    }
    return std::nullopt;
}
