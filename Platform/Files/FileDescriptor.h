#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace kestrum {

/// Owns a file descriptor of the kernel; -1 is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor()
    {
        const int error = errno;
        close();
        errno = error;
    }

    bool isValid() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

    /// Closes now. False, with the reason in `errno`, when the kernel reports what went wrong with earlier
    /// writes.
    bool close()
    {
        const int descriptor = std::exchange(m_descriptor, -1);
        // An interrupted close has closed all the same.
        return descriptor < 0 || ::close(descriptor) == 0 || errno == EINTR;
    }

private:
    int m_descriptor = -1;
};

} // namespace kestrum
