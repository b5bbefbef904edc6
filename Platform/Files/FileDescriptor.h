// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace kestrum {

/// Owns a file descriptor; -1 means none. The destructor preserves `errno`.
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

    /// Closes the descriptor now. Returns false and sets `errno` if the kernel reports that earlier writes failed.
    bool close()
    {
        const int descriptor = std::exchange(m_descriptor, -1);
        // EINTR: the kernel has closed the descriptor although a signal interrupted the call.
        return descriptor < 0 || ::close(descriptor) == 0 || errno == EINTR;
    }

private:
    int m_descriptor = -1;
};

} // namespace kestrum
