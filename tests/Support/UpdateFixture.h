#pragma once

#include "KestrumAgent/Updates/UpdateChecker.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/SignalRecorder.h"

#include <QSignalSpy>
#include <QTimer>
#include <optional>

namespace kestrum {

/// A checker, its outcomes, and the number of its signals to the window.
struct UpdateFixture {
    UpdateChecker checker;
    QSignalSpy outcomes { &checker, &UpdateChecker::finished };
    Ear ear { SharedSettings::name(SharedSettings::Signal::updateAvailable) };

    /// The state before every test: the built bundle's texts, and nothing stored.
    static void prepare()
    {
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        forgetSettings();
        registerFactoryDefaults();
    }

    static std::optional<QString> offer()
    {
        return SharedSettings::store().string(Keys::updatesAvailable.name);
    }

    /// The outcome of a check; empty when there is none within 20 s, or when it comes before `check` returns.
    QString check()
    {
        const auto before = outcomes.count();
        checker.check();
        if (outcomes.count() != before || !outcomes.wait(20'000))
            return {};
        return outcomes.last().first().toString();
    }

    /// The number of signals so far, after a wait for signals under way.
    int posts() const
    {
        QTest::qWait(quietTime);
        return ear.count;
    }

    /// The checker's daily timer.
    QTimer& daily() { return *checker.findChild<QTimer*>(); }
};

} // namespace kestrum
