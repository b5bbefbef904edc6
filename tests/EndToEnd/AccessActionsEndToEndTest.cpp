// Each kind of control of the built program, used through accessibility actions as a screen reader does.

#include "tests/Support/AccessTest.h"

using namespace kestrum;

using Programs::patience;
using State = Accessible::State;

class AccessActionsEndToEndTest : public AccessTest {
    Q_OBJECT

private Q_SLOTS:
    void aSwitch()
    {
        open("general");
        const Accessible control = window().control(text("Updates/check box Check automatically"));
        QVERIFY(control.has(State::checked));
        QVERIFY(control.act(text("Toggle")));
        QTRY_VERIFY_WITH_TIMEOUT(!control.has(State::checked), patience);
        waitForStored("updatesCheckAutomatically", "false");
        QVERIFY(control.act(text("Toggle")));
        QTRY_VERIFY_WITH_TIMEOUT(control.has(State::checked), patience);
        waitForStored("updatesCheckAutomatically", "true");
    }

    void aSegment()
    {
        open("menuBar");
        const Accessible wave = window().control(text("CPU/Meter/radio button Wave"));
        QVERIFY(wave.isFound() && !wave.has(State::checked));
        QVERIFY(wave.act(text("Toggle")));
        QTRY_VERIFY_WITH_TIMEOUT(wave.has(State::checked), patience);
        QVERIFY(!window().control(text("CPU/Meter/radio button Bars")).has(State::checked));
        waitForStored("meterStyle", "\"wave\"");
    }

    void aPopupPickerOpensAndIsChosenFromByKeys()
    {
        open("general");
        const Accessible picker = window().control(text("Units/combo box Temperature"));
        QCOMPARE(picker.name(), text("System"));
        QVERIFY(picker.act(text("ShowMenu")));
        const auto list = [&picker] { return picker.children().value(0); };
        QTRY_VERIFY_WITH_TIMEOUT(list().has(State::showing), patience);
        window().press("Down");
        QTRY_VERIFY_WITH_TIMEOUT(
            list().find(text("list item"), text("Celsius")).has(State::selected), patience);
        window().press("Return");
        QTRY_COMPARE_WITH_TIMEOUT(picker.name(), text("Celsius"), patience);
        waitForStored("temperatureUnit", "\"celsius\"");
    }

    void anEntryOfAnOpenPickerIsChosen()
    {
        open("general");
        const Accessible picker = window().control(text("Sampling/combo box Refresh interval"));
        QCOMPARE(picker.name(), text("Every Second"));
        QVERIFY(picker.act(text("ShowMenu")));
        const auto list = [&picker] { return picker.children().value(0); };
        QTRY_VERIFY_WITH_TIMEOUT(list().has(State::showing), patience);
        QVERIFY(list().find(text("list item"), text("Every 5 Seconds")).act(text("Toggle")));
        QTRY_COMPARE_WITH_TIMEOUT(picker.name(), text("Every 5 Seconds"), patience);
        QTRY_VERIFY_WITH_TIMEOUT(!list().has(State::showing), patience);
        waitForStored("refreshInterval", "5");
    }

    void aColourWell()
    {
        open("menuBar");
        writeText("memoryAccent", "custom:srgb:0.2000,0.4000,0.6000");
        const QString name = text("Memory/push button Colour custom colour");
        QTRY_VERIFY_WITH_TIMEOUT(window().control(name).isFound(), patience);
        QVERIFY(window().control(name).act(text("Press")));
        const auto dialog
            = [this] { return window().application().find(text("dialog"), text("Memory colour")); };
        QTRY_VERIFY_WITH_TIMEOUT(dialog().isFound() && dialog().has(State::showing), patience);
        // Finds the spin box for red in the colour dialog.
        const QList<Accessible> numbers = dialog().findAll(text("spin box"));
        const auto red = std::find_if(
            numbers.begin(), numbers.end(), [](const Accessible& number) { return number.value() == 51.0; });
        QVERIFY(red != numbers.end());
        QVERIFY(red->setValue(255));
        waitForStored("memoryAccent", "\"custom:srgb:1.0000,0.4000,0.6000\"");
        QCOMPARE(window().control(name).description(), text("#ff6699"));
    }

    void aTile()
    {
        open("popovers");
        const Accessible opaque = window().control(text("Background/push button Opaque"));
        QVERIFY(opaque.isFound() && !opaque.has(State::selected));
        QVERIFY(opaque.act(text("Press")));
        QTRY_VERIFY_WITH_TIMEOUT(opaque.has(State::selected) && opaque.has(State::checked), patience);
        QVERIFY(!window().control(text("Background/push button Translucent")).has(State::selected));
        waitForStored("popoverBackground", "\"opaque\"");
    }

    void aPushButton()
    {
        pressCheckNow([this](const QString& name) { QVERIFY(window().control(name).act(text("Press"))); });
    }

    void aRowOfTheSidebar()
    {
        open("menuBar");
        QVERIFY(window().row("General").act(text("Toggle")));
        QTRY_VERIFY_WITH_TIMEOUT(window().row("General").has(State::selected), patience);
        QVERIFY(!window().row("Menu Bar").has(State::selected));
        QTRY_VERIFY_WITH_TIMEOUT(
            window().control(text("Sampling/combo box Refresh interval")).isFound(), patience);
        waitForStored("settingsPane", "\"general\"");
        // The action must not deselect a selected row.
        window().row("General").act(text("Toggle"));
        QTest::qWait(100);
        QVERIFY(window().row("General").has(State::selected));
    }

    void theAgentsSwitch()
    {
        open("menuBar");
        fixture().useStandInAgent();
        const Accessible control = window().control(text("check box Kestrum menu bar"));
        QVERIFY(control.isFound() && !control.has(State::checked));
        QVERIFY(control.act(text("Toggle")));
        QTRY_VERIFY_WITH_TIMEOUT(control.has(State::checked), patience);
        // What is told to an agent that does not listen yet is lost.
        QTRY_VERIFY_WITH_TIMEOUT(fixture().listeningAgent() > 0, patience);
        QCOMPARE(agents().size(), 1);
        waitForStored("agentEnabled", "true");
        QVERIFY(control.act(text("Toggle")));
        QTRY_VERIFY_WITH_TIMEOUT(!control.has(State::checked), patience);
        QTRY_VERIFY_WITH_TIMEOUT(agents().isEmpty(), patience);
        waitForStored("agentEnabled", "false");
    }

    void aControlIsGivenTheFocus()
    {
        open("general");
        const Accessible control = window().control(text("Updates/check box Check automatically"));
        QVERIFY(control.focus());
        QTRY_VERIFY_WITH_TIMEOUT(control.has(State::focused), patience);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AccessActionsEndToEndTest)
#include "AccessActionsEndToEndTest.moc"
