#pragma once

/// Counts, from its making on, how often the code under test beeps. Only in programs that link beep_support.
class Beeps {
public:
    Beeps();

    int count() const;

private:
    int m_before;
};
