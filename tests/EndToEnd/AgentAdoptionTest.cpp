// Counts how often the agent adopts its settings when another process stores some while the settings window is open. The
// window announces every change by a signal, so the agent gets two notices of one change.

#include "KestrumAgent/Agent.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/PaintWatcher.h"
#include "tests/Support/SignalRecorder.h"

#include <QApplication>
#include <QJsonArray>
#include <QSignalSpy>
#include <fcntl.h>
#include <unistd.h>

using namespace kestrum;

using Programs::patience;
using SharedSettings::Signal;

namespace {

/// Values of a key's type. One of them is the factory default.
template <class T> QJsonArray values()
{
    if constexpr (std::is_same_v<T, bool>) {
        return { true, false };
    } else if constexpr (std::is_same_v<T, double>) {
        return { 2, 30 };
    } else if constexpr (std::is_same_v<T, QString>) {
        return { QStringLiteral("cpu,memory,storage,sensors"), QStringLiteral("general"),
            QStringLiteral("ar"), QStringLiteral("9.9") };
    } else if constexpr (std::is_same_v<T, MeterAccent>) {
        return { QStringLiteral("amber"), QStringLiteral("teal") };
    } else {
        QJsonArray all;
        for (const auto& entry : allCases<T>())
            all.append(rawValue(entry.value));
        return all;
    }
}

/// A picture of a strip with the current settings.
QImage look()
{
    PanelStrip strip(std::make_shared<SampleReadings>());
    strip.resize(strip.sizeHint());
    strip.show();
    return strip.grab().toImage();
}

} // namespace

class AgentAdoptionTest : public QObject {
    Q_OBJECT

    std::unique_ptr<Agent> m_agent;
    std::unique_ptr<QProcess> m_window;
    Ear m_announcements { SharedSettings::name(Signal::settings) };

    /// Stores a value by another process, and waits until the window announces the change.
    void write(const char* key, const char* json) const
    {
        const int before = m_announcements.count;
        QCOMPARE(ctl("write", { QLatin1StringView(key), QLatin1StringView(json) }).code, 0);
        QTRY_VERIFY_WITH_TIMEOUT(m_announcements.count > before, patience);
        QTest::qWait(quietTime); // until later effects have arrived
    }

    /// Waits until the slow readings have been drawn. From then on, only a change of settings causes a drawing.
    void waitForRest() const
    {
        const QSignalSpy drawn(m_agent->strip(), &PanelStrip::redrawn);
        constexpr int rest = 500;
        for (qsizetype last = -1, tries = 0; last != drawn.count() && tries < patience / rest; ++tries) {
            last = drawn.count();
            QTest::qWait(rest);
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        registerFactoryDefaults();
        // The interval is too long for further samples. With the agent switched off, the window starts none.
        Setting(Keys::refreshInterval).set(3600);
        Setting(Keys::agentEnabled).set(false);
        m_agent = std::make_unique<Agent>();
        m_agent->start();
        QVERIFY(m_agent->strip()->isVisible());

        m_window = Programs::started(
            qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app/Contents/MacOS/Kestrum"),
            {});
        // The window announces a change once it is open.
        double interval = 3600;
        QTRY_VERIFY_WITH_TIMEOUT(
            Setting(Keys::refreshInterval).set(++interval) && m_announcements.count > 0, patience);
        waitForRest();
    }
    void cleanupTestCase()
    {
        Programs::end(*m_window);
        m_agent.reset();
    }

    void anotherPageOfTheWindowIsNothingToTheAgent()
    {
        const QSignalSpy adopted(m_agent->strip(), &PanelStrip::rebuilt);
        const QSignalSpy drawn(m_agent->strip(), &PanelStrip::redrawn);
        PaintWatcher screen;
        m_agent->strip()->installEventFilter(&screen);
        write("settingsPane", "\"general\"");
        write("settingsPane", "\"popovers\"");
        QCOMPARE(adopted.count(), 0);
        QCOMPARE(drawn.count(), 0);
        QVERIFY(screen.painted.isEmpty());
    }

    void anotherLookIsAdoptedOnceAndDrawnOnce()
    {
        const QSignalSpy adopted(m_agent->strip(), &PanelStrip::rebuilt);
        const QSignalSpy drawn(m_agent->strip(), &PanelStrip::redrawn); // one signal per drawing of all items
        PaintWatcher screen;
        m_agent->strip()->installEventFilter(&screen);
        write("meterStyle", "\"wave\"");
        QCOMPARE(adopted.count(), 1);
        QCOMPARE(drawn.count(), 1);
        QVERIFY(!screen.painted.isEmpty());
        write("meterStyle", "\"bars\"");
        QCOMPARE(adopted.count(), 2);
        QCOMPARE(drawn.count(), 2);
    }

    void anotherReadoutIsDrawnOnceTogetherWithItsSample()
    {
        const QSignalSpy drawn(m_agent->strip(), &PanelStrip::redrawn);
        // Later drawings are caused by the second sample and by slow readings.
        QList<qsizetype> drawnAtAdoption;
        const auto connection = connect(
            m_agent->strip(), &PanelStrip::rebuilt, this, [&] { drawnAtAdoption.append(drawn.count()); });
        write("cpuReadout", "\"usage\"");
        disconnect(connection);
        QVERIFY(SharedSettings::store().remove("cpuReadout"));
        waitForRest();
        QCOMPARE(drawnAtAdoption, QList<qsizetype> { 1 });
    }

    void whatChangesTheItemsIsWhatTheAgentAdopts()
    {
        const Bundle before = Bundle::main();
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        const QImage usual = look();
        QStringList found;
        const auto tryKey = [&](const auto& key) {
            bool changes = false;
            for (const QJsonValue& value : values<typename std::decay_t<decltype(key)>::Value>()) {
                QVERIFY(SharedSettings::store().set(key.name, value));
                changes = changes || look() != usual;
            }
            QVERIFY(SharedSettings::store().remove(key.name));
            if (changes)
                found += Keys::names(key);
        };
        std::apply([&](const auto&... key) { (tryKey(key), ...); }, Keys::registered);
        std::apply([&](const auto&... key) { (tryKey(key), ...); }, Keys::unregistered);
        Bundle::setMain(before);
        // The last two keys change no picture here: the machine may have only one kind of cores, and the language changes only
        // an item's description.
        found += Keys::names(Keys::cpuFastCoreAccent, Keys::language);
        found.removeDuplicates();
        QStringList adopted = MeterSettings::itemKeys();
        adopted.sort();
        found.sort();
        QCOMPARE(found.join(u' '), adopted.join(u' '));
    }
};

KESTRUM_TEST_MAIN(QApplication, AgentAdoptionTest)
#include "AgentAdoptionTest.moc"
