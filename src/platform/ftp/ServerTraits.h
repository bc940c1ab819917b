#pragma once

/// What is known of a server, for as long as there is an engine.
struct ServerTraits {
    bool pipelines = true; ///< It understands commands that are sent ahead of replies.
    bool passiveOnly = false; ///< EPSV leads nowhere; PASV is to be used where there is an IPv4 address.
};
