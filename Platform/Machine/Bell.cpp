// SPDX-License-Identifier: MIT
#include "Platform/Machine/Bell.h"

#include <sys/eventfd.h>

namespace kestrum {

Bell::Bell(QObject* parent)
    : QObject(parent)
    , m_counter(std::make_shared<const FileDescriptor>(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)))
{
    if (!m_counter->isValid())
        return;
    m_notifier = std::make_unique<QSocketNotifier>(m_counter->get(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        eventfd_t rings = 0;
        if (::eventfd_read(m_counter->get(), &rings) == 0)
            Q_EMIT rung();
    });
}

std::function<void()> Bell::rope() const
{
    if (!m_counter->isValid())
        return {};
    return [counter = m_counter] { ::eventfd_write(counter->get(), 1); };
}

} // namespace kestrum
