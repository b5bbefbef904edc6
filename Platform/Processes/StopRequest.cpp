// SPDX-License-Identifier: MIT
#include "Platform/Processes/StopRequest.h"

#include <QSocketNotifier>
#include <csignal>
#include <sys/signalfd.h>

namespace kestrum {

namespace {

sigset_t stoppingSignals()
{
    sigset_t stopping;
    sigemptyset(&stopping);
    sigaddset(&stopping, SIGINT);
    sigaddset(&stopping, SIGTERM);
    return stopping;
}

} // namespace

void StopRequest::block()
{
    const sigset_t stopping = stoppingSignals();
    ::pthread_sigmask(SIG_BLOCK, &stopping, nullptr);
}

StopRequest::StopRequest()
{
    const sigset_t stopping = stoppingSignals();
    m_descriptor = FileDescriptor(::signalfd(-1, &stopping, SFD_NONBLOCK | SFD_CLOEXEC));
    // Without a descriptor, the signals' default effect stops the program.
    ::pthread_sigmask(m_descriptor.isValid() ? SIG_BLOCK : SIG_UNBLOCK, &stopping, nullptr);
    if (!m_descriptor.isValid())
        return;
    const auto* notifier = new QSocketNotifier(m_descriptor.get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo received;
        if (::read(m_descriptor.get(), &received, sizeof received) == sizeof received)
            Q_EMIT requested();
    });
}

} // namespace kestrum
