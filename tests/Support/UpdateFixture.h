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

/// An update checker, the outcomes that it reported, and the signals that it posted to the window.
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

    /// Starts a check and returns its outcome. Empty after 20 s, or when the check ends before the call of `check` returns.
    QString check()
    {
        const auto before = outcomes.count();
        checker.check();
        if (outcomes.count() != before || !outcomes.wait(20'000))
            return {};
        return outcomes.last().first().toString();
    }

    /// Waits for signals that are under way, and returns the number of signals so far.
    int posts() const
    {
        QTest::qWait(quietTime);
        return ear.count;
    }

    QTimer& daily() { return *checker.findChild<QTimer*>(); }
};

} // namespace kestrum
