#pragma once

#include <QByteArray>

#include <optional>

/// The port of a reply 229 to EPSV, as in "Entering Extended Passive Mode (|||6446|)" (RFC 2428, section 3).
std::optional<quint16> portOfExtendedPassiveReply(QByteArrayView text);

/// The port of a reply 227 to PASV, as in "Entering Passive Mode (h1,h2,h3,h4,p1,p2)" (RFC 959, section 4.1.2), also
/// without parentheses. The address is not read: data goes to the host of the control connection alone.
std::optional<quint16> portOfPassiveReply(QByteArrayView text);

/// The folder of a reply 257 to PWD: the quoted text, doubled quotes made single (RFC 959, appendix II). std::nullopt
/// when it is no absolute path of the usual form.
std::optional<QByteArray> folderOfReply(QByteArrayView text);
