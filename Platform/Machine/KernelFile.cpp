// SPDX-License-Identifier: MIT
#include "Platform/Machine/KernelFile.h"

#include "Platform/Machine/KernelText.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace kestrum {

KernelFile::KernelFile(const QString& path)
    : m_path(QFile::encodeName(path))
{
}

std::optional<std::string_view> KernelFile::read()
{
    if (m_descriptor.isValid()) {
        if (const auto content = readOpened())
            return content;
        // The device is gone. The file is opened again, because another device may have got the same path.
        m_descriptor.close();
    } else if (m_passOver > 0) {
        --m_passOver;
        return std::nullopt;
    }
    // Without O_NONBLOCK, opening a pipe at this path would wait for a writer.
    m_descriptor = FileDescriptor(::open(m_path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (m_descriptor.isValid()) {
        if (const auto content = readOpened()) {
            m_pause = 0;
            return content;
        }
        m_descriptor.close();
    }
    m_pause = std::clamp(m_pause * 2, 1, longestPause);
    m_passOver = m_pause;
    return std::nullopt;
}

std::optional<std::string_view> KernelFile::readOpened()
{
    if (m_buffer.empty())
        m_buffer.resize(4096);
    std::size_t size = 0;
    for (;;) {
        const std::size_t room = m_buffer.size() - size;
        const ssize_t count = ::pread(m_descriptor.get(), m_buffer.data() + size, room, off_t(size));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        size += std::size_t(count);
        // A large enough buffer gets the whole text in one read. So the text has ended if the buffer is not full.
        if (std::size_t(count) < room || m_buffer.size() >= maximumBytes)
            return std::string_view(m_buffer.data(), size);
        m_buffer.resize(m_buffer.size() * 2);
    }
}

std::string_view KernelFile::readWord()
{
    return KernelText::trimmed(read().value_or(std::string_view()));
}

std::optional<qint64> KernelFile::readNumber()
{
    return KernelText::wholeNumber<qint64>(readWord());
}

} // namespace kestrum
