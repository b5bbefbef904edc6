// SPDX-License-Identifier: MIT
#include "Platform/Processes/StopRequest.h"

#include <QSocketNotifier>
#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

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
    m_descriptor = ::signalfd(-1, &stopping, SFD_NONBLOCK | SFD_CLOEXEC);
    // Without a descriptor, the signals' default effect stops the program.
    if (m_descriptor < 0) {
        ::pthread_sigmask(SIG_UNBLOCK, &stopping, nullptr);
        return;
    }
    ::pthread_sigmask(SIG_BLOCK, &stopping, nullptr);
    const auto* notifier = new QSocketNotifier(m_descriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo received;
        if (::read(m_descriptor, &received, sizeof received) == sizeof received)
            Q_EMIT requested();
    });
}

StopRequest::~StopRequest()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

} // namespace kestrum
