// SPDX-License-Identifier: MIT
#include "Platform/Store/SettingsText.h"
#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

void readsBack(const QByteArray& text, const QJsonObject& values)
{
    const auto again = SettingsText::parsed(text);
    expect(again.damage.isEmpty(), "what was written is sound");
    expect(again.values == values, "what was written reads the same");
}

/// Whether a text within may begin with a byte order mark. The toolkit's values keep such a mark until they are read as texts, and
/// so are not equal to what was written of them.
bool hasInnerMark(const QByteArray& text)
{
    return text.lastIndexOf("\xEF\xBB\xBF") > 0 || text.toLower().contains("\\ufeff");
}

void runSettingsText(std::string_view input)
{
    const QByteArray text = bytes(input);
    if (hasInnerMark(text))
        return;
    const auto parsed = SettingsText::parsed(text);
    expect(SettingsText::isStorable(parsed.values), "what was read can be stored");
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
