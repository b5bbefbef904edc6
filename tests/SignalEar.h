#pragma once

#include "Platform/NotificationCentre.h"
#include "tests/TestHome.h"

#include <QString>
#include <optional>

namespace kestrum {

/// Long enough, in milliseconds, for what is under way to arrive.
constexpr int quietTime = 60;

/// Where the signals' files are.
inline QString signalsDirectory()
{
    return TestHome::runtimeDirectory() + QStringLiteral("/kestrum/signals");
}

/// A registration that ends with its scope, and its deliveries.
struct Ear {
    explicit Ear(const QString& name)
        : token(NotificationCentre::registerDispatch(name, [this] { ++count; }))
    {
    }
    ~Ear()
    {
        if (token)
            NotificationCentre::cancel(*token);
    }
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;

    int count = 0;
    std::optional<NotificationCentre::Token> token;
};

} // namespace kestrum
