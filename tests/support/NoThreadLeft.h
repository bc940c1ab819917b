#pragma once

/// While one lives, the system has no thread left.
class NoThreadLeft {
public:
    NoThreadLeft();
    NoThreadLeft(const NoThreadLeft&) = delete;
    NoThreadLeft& operator=(const NoThreadLeft&) = delete;
    ~NoThreadLeft();
};
