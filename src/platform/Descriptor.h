#pragma once

#include <unistd.h>

/// A descriptor of the system's that closes; negative for none.
class Descriptor {
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }

    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};
