// SPDX-License-Identifier: MIT
#include "KestrumShared/Settings/SignalListener.h"

#include <utility>

namespace kestrum {

SignalListener::~SignalListener()
{
    for (const NotificationCentre::Token token : std::as_const(m_tokens))
        NotificationCentre::cancel(token);
}

void SignalListener::listen(SharedSettings::Signal signal, std::function<void()> handler)
{
    if (const auto token
        = NotificationCentre::registerDispatch(SharedSettings::name(signal), std::move(handler)))
        m_tokens.append(*token);
}

} // namespace kestrum
