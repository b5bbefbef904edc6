// SPDX-License-Identifier: MIT
#include "KestrumShared/Settings/MeterSettings.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>

namespace kestrum {

namespace {

void hasEachSectionOnce(const QList<MonitorSection>& order)
{
    const auto& all = MeterSettings::defaultMenuBarOrder;
    expect(std::is_permutation(order.begin(), order.end(), std::begin(all), std::end(all)),
        "an order has each section once");
}

// The first byte says which sections are shown.
void runMenuBarOrder(std::string_view input)
{
    const unsigned shown = input.empty() ? 0 : static_cast<unsigned char>(input[0]);
    const auto isShown = [shown](MonitorSection section) { return ((shown >> unsigned(section)) & 1U) != 0; };
    const QString text = QString::fromUtf8(bytes(input.substr(input.empty() ? 0 : 1)));

    const QList<MonitorSection> stored = MeterSettings::order(text);
    hasEachSectionOnce(stored);
    QStringList names;
    for (const MonitorSection section : stored)
        names.append(rawValue(section));
    expect(MeterSettings::order(names.join(u',')) == stored, "an order reads back");

    QList<MonitorSection> visible;
    std::copy_if(stored.rbegin(), stored.rend(), std::back_inserter(visible), isShown);
    const QList<MonitorSection> merged = MeterSettings::merged(visible, stored, isShown);
    hasEachSectionOnce(merged);
    for (qsizetype i = 0; i < stored.size(); ++i)
        expect(isShown(stored[i]) || merged[i] == stored[i], "a hidden section keeps its place");
    QList<MonitorSection> left;
    std::copy_if(merged.begin(), merged.end(), std::back_inserter(left), isShown);
    expect(left == visible, "the shown sections have the new order");
}

const FuzzTarget menuBarOrderTarget("MenuBarOrder", runMenuBarOrder);

} // namespace
} // namespace kestrum
