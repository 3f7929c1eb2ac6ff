#pragma once
#include <cerrno>
#include <utility>

#include <unistd.h>

/// A descriptor of the system, closed with its owner. Closing leaves errno alone: what went wrong before can still be
/// told. Owns: the descriptor.
class Descriptor
{
public:
    Descriptor() = default; // none
    explicit Descriptor(int number)
        : m_number(number)
    {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept
        : m_number(other.release())
    {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }

    int get() const { return m_number; } // -1: none
    bool isOpen() const { return m_number >= 0; }

    void close()
    {
        if (isOpen()) {
            const int reason = errno;
            ::close(release());
            errno = reason;
        }
    }
    int release() { return std::exchange(m_number, -1); } // whoever asks closes it

private:
    int m_number = -1;
};
