// SPDX-License-Identifier: MIT
// Calls of everything that bridges may call, on the agent's service without a bus.

#include "KestrumAgent/Bridge/PanelService.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "KestrumAgent/Popover/PopoverSource.h"
#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Popover/SamplePopoverReadings.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzTarget.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <algorithm>

// Fontconfig keeps some of its memory by distances instead of addresses, and the sanitizer takes what is in use for lost.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n";
}

namespace kestrum {

namespace {

constexpr int mostCalls = 24;

class SampleSource final : public PopoverSource {
public:
    const PopoverReadings& readings() const override { return m_readings; }
    void opened(MonitorSection) override { }
    void closed() override { }
    void approached(MonitorSection) override { }
    void resetHighest() override { }
    void setListHeld(bool) override { }

private:
    PopoverReadings m_readings = SamplePopoverReadings::rich();
};

/// What lives as long as the program: the strip with its popovers.
struct Panel {
    int count = 1;
    char name[7] = "fuzzer";
    char* words[2] = { name, nullptr };
    QApplication application { count, words };
    PanelStrip strip { std::make_shared<SampleReadings>() };
    SampleSource source;
    PopoverController popovers { strip, source };
    QMenu menu;

    Panel()
    {
        SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
        strip.rebuild();
        menu.addAction(QStringLiteral("Settings"))->setObjectName(QStringLiteral("settings"));
    }
};

QStringList words(std::initializer_list<const char*> texts)
{
    QStringList list;
    for (const char* text : texts)
        list.append(QString::fromLatin1(text));
    return list;
}

/// A look whose pictures are small: nobody looks at them, and what scales do is the target PanelLook's.
QVariantMap smallLook(FuzzInput& input, const QStringList& values)
{
    static const QStringList keys = words({ "scale", "room", "foreground" });
    QVariantMap look = input.map(keys, values);
    look.insert(keys[0], 0.0);
    return look;
}

void call(PanelService& service, FuzzInput& input)
{
    static const QStringList sections = words({ "cpu", "memory", "storage", "sensors" });
    static const QStringList kinds = words({ "move", "press", "release", "scroll", "leave" });
    static const QStringList keys = words({ "Tab", "Shift+Tab", "Esc", "Ctrl+", "Up", "Down", "Left", "Right",
        "Space", "Return", "Ctrl+C", "Home", "PgDown" });
    static const QStringList actions = words({ "move-left", "move-right", "settings", "system-monitor" });
    static const QStringList values { QStringLiteral("#123456"), QStringLiteral("#zzzzzz"),
        QString(2000, u'x'), QString(2000, u'\u0301') };
    const auto bridge = [&input] { return uint(input.bounded(10)); };
    switch (input.bounded(11)) {
    case 0: {
        const bool isFull = service.shownBy().count(u',') + 1 >= PanelService::mostBridges;
        expect((service.Attach(input.text(values), smallLook(input, values)) == 0) == isFull,
            "a bridge is attached while there is room");
        break;
    }
    case 1:
        service.Look(bridge(), smallLook(input, values));
        break;
    case 2:
        service.Detach(bridge());
        break;
    case 3:
        service.OpenPopover(bridge(), input.text(sections), smallLook(input, values));
        break;
    case 4:
        service.ClosePopover(bridge());
        break;
    case 5: {
        const uint number = bridge();
        const QString kind = input.text(kinds);
        const double x = input.number();
        const double y = input.number();
        service.Pointer(number, kind, x, y, input.number());
        break;
    }
    case 6:
        service.Key(bridge(), input.text(keys));
        break;
    case 7: {
        const uint number = bridge();
        const QString item = input.text(sections);
        const QPoint topLeft(input.whole(), input.whole());
        const QPoint bottomRight(input.whole(), input.whole());
        service.ShowPopover(number, item, QRect(topLeft, bottomRight), input.text(values));
        break;
    }
    case 8:
        for (const PanelMenuEntry& entry : service.Actions(input.text(sections)))
            expect(!entry.id.isEmpty() || !entry.isEnabled, "what has no id cannot be chosen");
        break;
    case 9: {
        const QString action = input.text(actions);
        service.Choose(action, input.text(sections), input.text(values));
        break;
    }
    default: {
        QStringList items;
        for (int count = input.bounded(6); count > 0; --count)
            items.append(input.text(sections));
        service.Reorder(items);
    }
    }
}

void isSound(const PanelService& service)
{
    const QString hosts = service.shownBy();
    expect(hosts.count(u',') < PanelService::mostBridges, "there are no more bridges than can be");
    expect(hosts.size() <= PanelService::mostBridges * (PanelService::longestHost + 1), "hosts are short");
    expect(std::all_of(hosts.begin(), hosts.end(), [](QChar c) { return c > u' ' && c < u'\x7F'; }),
        "hosts are plain");
    expect(service.isUsed() == (hosts != PanelContract::nothing), "who is attached is told");
    const QList<MonitorSection> order = MeterSettings::storedOrder();
    const auto& all = MeterSettings::defaultMenuBarOrder;
    expect(std::is_permutation(order.begin(), order.end(), std::begin(all), std::end(all)),
        "an order has each section once");
}

void runPanelService(std::string_view text)
{
    // Never destroyed: the fuzzer ends within a run.
    static Panel& panel = *new Panel;
    FuzzInput input(text);
    const QStringList stored = SharedSettings::store().storedDictionary().keys();
    if (!stored.isEmpty())
        SharedSettings::store().apply({}, stored);
    PanelService service(panel.strip, panel.popovers, panel.menu);
    for (int calls = 0; calls < mostCalls && !input.isAtEnd(); ++calls) {
        call(service, input);
        if (input.bounded(4) == 0)
            QCoreApplication::processEvents();
        isSound(service);
    }
}

const FuzzTarget panelServiceTarget("PanelService", runPanelService);

} // namespace
} // namespace kestrum
