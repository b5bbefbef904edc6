// Each kind of control of the built program, used by real keys. The stored value and the accessibility tree must change. When
// another process writes a setting, the open window must show it.

#include "tests/Support/AccessTest.h"

using namespace kestrum;

using Programs::patience;
using State = Accessible::State;

class AccessKeysEndToEndTest : public AccessTest {
    Q_OBJECT

private Q_SLOTS:
    void aSwitch()
    {
        open("menuBar");
        const Accessible control = window().tabTo(text("CPU/check box Show in menu bar"));
        QVERIFY(control.has(State::checked));
        window().press("space");
        QTRY_VERIFY_WITH_TIMEOUT(!control.has(State::checked), patience);
        waitForStored("showCPUItem", "false");
        fixture().write("showCPUItem", "true");
        QTRY_VERIFY_WITH_TIMEOUT(control.has(State::checked), patience);
    }

    void segments()
    {
        open("menuBar");
        const Accessible pill = window().tabTo(text("All Items/Bar shape/radio button Pill"));
        QVERIFY(pill.has(State::checked));
        const Accessible square = window().control(text("All Items/Bar shape/radio button Square"));
        QVERIFY(square.isFound() && !square.has(State::checked));
        window().press("Right");
        QTRY_VERIFY_WITH_TIMEOUT(square.has(State::checked) && square.has(State::focused), patience);
        QVERIFY(!pill.has(State::checked));
        waitForStored("meterShape", "\"square\"");
        writeText("meterShape", "pill");
        QTRY_VERIFY_WITH_TIMEOUT(pill.has(State::checked) && !square.has(State::checked), patience);
    }

    void aPopupPicker()
    {
        open("menuBar");
        const Accessible picker = window().tabTo(text("CPU/combo box Readout"));
        QCOMPARE(picker.name(), text("Temperature"));
        window().press("space");
        const auto list = [&picker] { return picker.children().value(0); };
        QTRY_VERIFY_WITH_TIMEOUT(list().has(State::showing), patience);
        QCOMPARE(list().name(), text("Readout"));
        const Accessible chosen = list().find(text("list item"), text("Temperature"));
        QTRY_VERIFY_WITH_TIMEOUT(chosen.has(State::selected), patience);
        window().press("Down");
        QTRY_VERIFY_WITH_TIMEOUT(
            list().find(text("list item"), text("Power")).has(State::selected), patience);
        window().press("Return");
        QTRY_COMPARE_WITH_TIMEOUT(picker.name(), text("Power"), patience);
        QTRY_VERIFY_WITH_TIMEOUT(!list().has(State::showing), patience);
        waitForStored("cpuReadout", "\"power\"");
        QVERIFY(picker.has(State::focused));
        writeText("cpuReadout", "usage");
        QTRY_COMPARE_WITH_TIMEOUT(picker.name(), text("Usage"), patience);
    }

    void aColourWell()
    {
        open("menuBar");
        const QByteArray colour = "custom:srgb:0.2000,0.4000,0.6000";
        writeText("cpuAccent", colour);
        const QString name = text("CPU/push button Colour custom colour");
        QTRY_VERIFY_WITH_TIMEOUT(window().control(name).isFound(), patience);
        const Accessible well = window().tabTo(name);
        QCOMPARE(well.description(), text("#336699"));
        window().press("space");
        const auto dialog
            = [this] { return window().application().find(text("dialog"), text("CPU colour")); };
        QTRY_VERIFY_WITH_TIMEOUT(dialog().isFound() && dialog().has(State::showing), patience);
        window().press("Escape");
        QTRY_VERIFY_WITH_TIMEOUT(!dialog().isFound() || !dialog().has(State::showing), patience);
        QTRY_VERIFY_WITH_TIMEOUT(well.has(State::focused), patience);
        waitForStored("cpuAccent", '"' + colour + '"');
        writeText("cpuAccent", "custom:srgb:1.0000,0.0000,0.0000");
        QTRY_COMPARE_WITH_TIMEOUT(well.description(), text("#ff0000"), patience);
    }

    void aTile()
    {
        open("popovers");
        const Accessible light = window().tabTo(text("Appearance/push button Light"));
        QVERIFY(light.isFound() && !light.has(State::selected));
        const Accessible system = window().control(text("Appearance/push button System"));
        QVERIFY(system.has(State::selected));
        window().press("space");
        QTRY_VERIFY_WITH_TIMEOUT(light.has(State::selected) && light.has(State::checked), patience);
        QVERIFY(!system.has(State::selected) && !system.has(State::checked));
        waitForStored("popoverAppearance", "\"light\"");
        writeText("popoverAppearance", "system");
        QTRY_VERIFY_WITH_TIMEOUT(system.has(State::selected) && !light.has(State::selected), patience);
    }

    void aPushButton()
    {
        pressCheckNow([this](const QString& name) {
            QVERIFY(window().tabTo(name).isFound());
            window().press("space");
        });
    }

    void thePreviewsItems()
    {
        open("menuBar");
        const Accessible strip = window().tabTo(text("list Menu bar items"));
        QVERIFY(strip.isFound());
        const auto items = [&strip] {
            QStringList names;
            for (const Accessible& item : strip.children())
                names.append(item.name());
            return names.join(u' ');
        };
        QCOMPARE(items(), text("SSD Sensors Memory CPU"));
        const Accessible ssd = strip.find(text("list item"), text("SSD"));
        QTRY_VERIFY_WITH_TIMEOUT(ssd.has(State::focused), patience);
        window().press("alt+Right");
        QTRY_COMPARE_WITH_TIMEOUT(items(), text("Sensors SSD Memory CPU"), patience);
        waitForStored("menuBarOrder", "\"sensors,storage,memory,cpu\"");
        QVERIFY(ssd.has(State::focused));
        window().press("Right");
        QTRY_VERIFY_WITH_TIMEOUT(strip.find(text("list item"), text("Memory")).has(State::focused), patience);
        QVERIFY(!ssd.has(State::focused));
        writeText("menuBarOrder", "cpu,memory,sensors,storage");
        QTRY_COMPARE_WITH_TIMEOUT(items(), text("CPU Memory Sensors SSD"), patience);
    }

    void aRowOfTheSidebar()
    {
        open("menuBar");
        window().press("Down");
        QTRY_VERIFY_WITH_TIMEOUT(window().row("Popovers").has(State::selected), patience);
        waitForStored("settingsPane", "\"popovers\"");
        QTRY_VERIFY_WITH_TIMEOUT(window().control(text("Appearance/push button Light")).isFound(), patience);
        writeText("settingsPane", "general");
        QTRY_VERIFY_WITH_TIMEOUT(window().row("General").has(State::selected), patience);
        QVERIFY(!window().row("Popovers").has(State::selected));
    }

    void theAgentsSwitch()
    {
        open("menuBar");
        fixture().useStandInAgent();
        const Accessible control = window().tabTo(text("check box Kestrum menu bar"));
        QVERIFY(control.isFound() && !control.has(State::checked));
        window().press("space");
        QTRY_VERIFY_WITH_TIMEOUT(control.has(State::checked), patience);
        waitForStored("agentEnabled", "true");
        QTRY_COMPARE_WITH_TIMEOUT(agents().size(), 1, patience);
        // The agent ends, but the setting does not change.
        fixture().endAgents();
        QTRY_VERIFY_WITH_TIMEOUT(!control.has(State::checked), patience);
        QTRY_VERIFY_WITH_TIMEOUT(window().frame().find(text("label"), text("Off")).isFound(), patience);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AccessKeysEndToEndTest)
#include "AccessKeysEndToEndTest.moc"
