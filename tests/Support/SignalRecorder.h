#pragma once

#include "Platform/Signals/NotificationCentre.h"
#include "tests/Support/PendingEvents.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"

#include <QString>
#include <QTest>
#include <QThread>
#include <memory>
#include <optional>

namespace kestrum {

inline QString signalsDirectory()
{
    return TestHome::runtimeDirectory() + QStringLiteral("/kestrum/signals");
}

/// A signal registration that counts its deliveries. The destructor cancels the registration.
struct Ear {
    explicit Ear(const QString& name)
        : token(NotificationCentre::registerDispatch(name, [this] {
            ++count;
            thread = QThread::currentThread();
        }))
    {
    }
    ~Ear()
    {
        if (token)
            NotificationCentre::cancel(*token);
    }
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;

    /// Waits for the deliveries of all posts so far, and returns their number.
    int settled() const
    {
        deliverPendingEvents();
        return count;
    }

    // A const object counts, too.
    mutable int count = 0;
    mutable QThread* thread = nullptr; ///< the thread of the last delivery
    std::optional<NotificationCentre::Token> token;
};

/// Posts in a new thread, and waits for its end.
inline void postFromAnotherThread(const QString& name)
{
    const std::unique_ptr<QThread> poster(QThread::create([&name] { NotificationCentre::post(name); }));
    poster->start();
    QVERIFY(poster->wait(10'000));
}

} // namespace kestrum
