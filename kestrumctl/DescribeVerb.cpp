// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Items/StripLayout.h"
#include "kestrumctl/CoresOption.h"
#include "kestrumctl/JsonText.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

constexpr Option describeOptions[] = { CoresOption::option };

template <class T> QJsonValue valueOrNull(const std::optional<T>& value)
{
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

// Objects are written member by member, because QJsonObject would sort the members.
QByteArray member(const char* name, const QJsonValue& value)
{
    return QByteArray("\"") + name + "\": " + JsonText::compact(value);
}

QByteArray described(const StripLayout::Item& item, const MenuBarReadings& readings)
{
    const MonitorSection section = item.section;
    return "{ " + member("section", rawValue(section)) + ", " + member("shown", item.isShown()) + ", "
        + member("x", valueOrNull(item.x)) + ", " + member("width", item.width) + ", "
        + member("labelWidth", StatusMetricView::labelWidth(section)) + ", "
        + member("readout", valueOrNull(StatusMetricView::readoutText(section, readings))) + " }";
}

ExitCode runDescribe(const CommandLine& line)
{
    if (const auto applied = CoresOption::apply(line); !applied)
        return Console::wrongUse(applied.failureText());
    KeyCatalogue::openedStore();
    const SampleReadings readings;
    const StripLayout layout = StripLayout::current();
    QByteArrayList items;
    for (const StripLayout::Item& item : layout.items)
        items.append("    " + described(item, readings));
    return Console::print("{\n  " + member("width", layout.width) + ",\n  "
        + member("height", StatusMetricView::height) + ",\n  \"items\": [\n" + items.join(",\n")
        + "\n  ]\n}\n");
}

} // namespace

const Verb describeVerb {
    .name = "describe",
    .parameters = "[--cores N[,N...]]",
    .summary = "print the menu-bar items' places and texts as JSON",
    .details
    = R"(Prints the strip of menu-bar items as JSON: its width and height in points and, in the stored order, all four
items with their left edge, width, label width and readout, with sample readings and the settings in effect.
The left edge "x" of a hidden item is null; its other members tell what it would be. "readout" is null
where an item has none.

  --cores N[,N...]  as on a machine with so many cores, by tiers, the fastest first
)",
    .run = runDescribe,
    .options = describeOptions,
    .draws = true,
};

} // namespace kestrum
