// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Signals/NotificationCentre.h"

#include <QList>
#include <functional>
#include <utility>

namespace kestrum {

/// Owns registrations for signals. The destructor cancels them in the order in which they were made. Main thread only.
class SignalListener {
public:
    SignalListener() = default;
    ~SignalListener()
    {
        for (const NotificationCentre::Token token : std::as_const(m_tokens))
            NotificationCentre::cancel(token);
    }
    SignalListener(const SignalListener&) = delete;
    SignalListener& operator=(const SignalListener&) = delete;

    /// Runs `handler` on the main thread after each post of `signal`. If the registration fails, `handler` never runs.
    void listen(SharedSettings::Signal signal, std::function<void()> handler)
    {
        listen(SharedSettings::name(signal), std::move(handler));
    }
    /// The same for a notification with that full name.
    void listen(const QString& name, std::function<void()> handler)
    {
        if (const auto token = NotificationCentre::registerDispatch(name, std::move(handler)))
            m_tokens.append(*token);
    }

    /// The active registrations, in the order in which they were made.
    const QList<NotificationCentre::Token>& tokens() const { return m_tokens; }

private:
    QList<NotificationCentre::Token> m_tokens;
};

} // namespace kestrum
