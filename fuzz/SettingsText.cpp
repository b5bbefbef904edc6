// SPDX-License-Identifier: MIT
#include "Platform/Store/SettingsText.h"
#include "fuzz/FuzzTarget.h"

#include <QJsonArray>
#include <algorithm>

namespace kestrum {

namespace {

int depthOf(const QJsonValue& value)
{
    int deepest = 0;
    for (const QJsonValue entry : value.toArray())
        deepest = std::max(deepest, depthOf(entry));
    const QJsonObject members = value.toObject();
    for (const QJsonValue entry : members)
        deepest = std::max(deepest, depthOf(entry));
    return value.isArray() || value.isObject() ? deepest + 1 : 0;
}

void runSettingsText(std::string_view input)
{
    const QByteArray text = bytes(input);
    const auto readsBack = [](const QByteArray& written, const QJsonObject& values) {
        const auto again = SettingsText::parsed(written);
        expect(again.damage.isEmpty(), "what was written is sound");
        expect(again.values == values, "what was written reads the same");
    };
    const auto parsed = SettingsText::parsed(text);
    expect(SettingsText::isStorable(parsed.values), "what was read can be stored");
    expect(depthOf(parsed.values) <= SettingsText::maximumDepth, "nothing is nested too deep");
    readsBack(SettingsText::serialised(parsed.values), parsed.values);

    const QByteArray rewritten = SettingsText::rewritten(text, parsed.values);
    readsBack(rewritten, parsed.values);
    expect(SettingsText::rewritten(rewritten, parsed.values) == rewritten, "writing again changes nothing");

    QJsonObject changed = parsed.values;
    if (!changed.isEmpty())
        changed.erase(changed.begin());
    changed.insert(QStringLiteral("meterStyle"), QStringLiteral("wave"));
    readsBack(SettingsText::rewritten(text, changed), changed);
}

const FuzzTarget settingsTextTarget("SettingsText", runSettingsText);

} // namespace
} // namespace kestrum
