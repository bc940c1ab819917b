#pragma once

namespace quillbox {

/// Whether what is said to a server, and what is moved, is encrypted.
enum class FTPEncryption {
    None, ///< Everything goes unencrypted, the password too.
    Required, ///< TLS on control and data connections (RFC 4217), or no login at all: never a fallback to clear text.
};

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::FTPEncryption;
#endif
