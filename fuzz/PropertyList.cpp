// SPDX-License-Identifier: MIT
#include "Platform/Bundle/PropertyList.h"

#include "fuzz/FuzzTarget.h"

#include <algorithm>

namespace kestrum {

namespace {

QString quoted(const QString& text)
{
    QString result;
    for (const QChar character : text) {
        if (character == u'"' || character == u'\\')
            result += u'\\';
        // A zero is only possible in this form.
        if (character == u'\0')
            result += QStringLiteral("\\U0000");
        else
            result += character;
    }
    return u'"' + result + u'"';
}

// In one form for equal lists: with sorted keys, and all texts quoted.
QString written(const PropertyList& list, int depth)
{
    expect(depth <= PropertyList::maximumDepth, "nothing is nested deeper than the maximum");
    if (const auto text = list.text()) {
        expect(text->size() <= PropertyList::maximumTextLength, "no text is longer than the maximum");
        expect(text->isValidUtf16(), "every text can be displayed");
        return quoted(*text);
    }
    QString result;
    if (list.type() == PropertyList::Type::list) {
        for (const PropertyList& entry : list.list())
            result += written(entry, depth + 1) + u',';
        return u'(' + result + u')';
    }
    QStringList keys = list.keys();
    keys.sort();
    for (const QString& key : keys) {
        const auto value = list.value(key);
        expect(value.has_value(), "every key has a value");
        result += quoted(key) + u'=' + written(*value, depth + 1) + u';';
    }
    return u'{' + result + u'}';
}

void runPropertyList(std::string_view input)
{
    const auto list = PropertyList::parsed(bytes(input));
    if (!list) {
        expect(!list.failureText().isEmpty(), "a refusal has a reason");
        return;
    }
    // The dictionary of a strings table has no braces, and does not count as a level.
    const QString text = written(*list, 0);
    const auto again = PropertyList::parsed(text.toUtf8());
    if (!again) {
        // With braces, a strings table may be a level too deep.
        expect(again.failureText().contains(QLatin1StringView("levels deep")), "what was written is sound");
        return;
    }
    expect(written(*again, 0) == text, "what was written reads the same");
}

const FuzzTarget propertyListTarget("PropertyList", runPropertyList);

} // namespace
} // namespace kestrum
