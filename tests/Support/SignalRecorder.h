#pragma once

#include "Platform/Signals/NotificationCentre.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"

#include <QString>
#include <QTest>
#include <QThread>
#include <memory>
#include <optional>

namespace kestrum {

/// Where the signals' files are.
inline QString signalsDirectory()
{
    return TestHome::runtimeDirectory() + QStringLiteral("/kestrum/signals");
}

/// A registration that ends with its scope, and its deliveries.
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

    // Counted also for an ear that its owner declared constant.
    mutable int count = 0;
    mutable QThread* thread = nullptr; ///< that of the last delivery
    std::optional<NotificationCentre::Token> token;
};

/// Posts on a thread of its own, and waits for that to end.
inline void postFromAnotherThread(const QString& name)
{
    const std::unique_ptr<QThread> poster(QThread::create([&name] { NotificationCentre::post(name); }));
    poster->start();
    QVERIFY(poster->wait(10'000));
}

} // namespace kestrum
