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

/// The folder of the signals' files.
inline QString signalsDirectory()
{
    return TestHome::runtimeDirectory() + QStringLiteral("/kestrum/signals");
}

/// A signal registration with a count of its deliveries. The destructor ends it.
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

    /// The number of deliveries of all posts so far.
    int settled() const
    {
        deliverPendingEvents();
        return count;
    }

    // Also a const object counts.
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
