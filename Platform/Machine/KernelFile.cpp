// SPDX-License-Identifier: MIT
#include "Platform/Machine/KernelFile.h"

#include "Platform/Machine/KernelText.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>

namespace kestrum {

KernelFile::KernelFile(const QString& path)
    : m_path(QFile::encodeName(path))
{
}

KernelFile KernelFile::saying(std::string_view content)
{
    KernelFile file({});
    file.m_buffer.assign(content.begin(), content.end());
    file.m_isFixed = true;
    return file;
}

std::optional<std::string_view> KernelFile::read()
{
    if (m_isFixed)
        return std::string_view(m_buffer.data(), m_buffer.size());
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
    m_isDenied = !m_descriptor.isValid() && errno == EACCES;
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
    std::size_t size = 0;
    for (;;) {
        if (size >= maximumBytes)
            return std::string_view(m_buffer.data(), size);
        if (size == m_buffer.size())
            m_buffer.resize(std::max<std::size_t>(4096, m_buffer.size() * 2));
        const ssize_t count
            = ::pread(m_descriptor.get(), m_buffer.data() + size, m_buffer.size() - size, off_t(size));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        // A text of several records, such as a table of mounts, comes in pieces of less than a page, however large the
        // buffer is. So only an empty piece is the end.
        if (count == 0)
            return std::string_view(m_buffer.data(), size);
        size += std::size_t(count);
    }
}

bool KernelFile::hasChanged() const
{
    if (!m_descriptor.isValid())
        return true;
    pollfd file { m_descriptor.get(), POLLPRI, 0 };
    return ::poll(&file, 1, 0) > 0 && (file.revents & POLLPRI) != 0;
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
