// SPDX-License-Identifier: MIT
#include "KestrumShared/Vocabulary/MeterAccent.h"

#include "KestrumShared/Vocabulary/Enumeration.h"
#include "KestrumShared/Vocabulary/FixedText.h"

#include <QStringList>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <locale.h>

namespace kestrum {

struct AccentCase : EnumerationCase<MeterAccent::Name> {
    float red, green, blue;
};

template <> struct Enumeration<MeterAccent::Name> {
    using Name = MeterAccent::Name;
    static constexpr AccentCase cases[] = {
        { { Name::signal, "signal", "Signal" }, 0.27F, 0.72F, 0.60F },
        { { Name::blue, "blue", "Blue" }, 0.28F, 0.56F, 0.92F },
        { { Name::indigo, "indigo", "Indigo" }, 0.42F, 0.42F, 0.95F },
        { { Name::purple, "purple", "Purple" }, 0.58F, 0.46F, 0.92F },
        { { Name::teal, "teal", "Teal" }, 0.22F, 0.66F, 0.78F },
        { { Name::pine, "pine", "Pine" }, 0.14F, 0.47F, 0.40F },
        { { Name::amber, "amber", "Amber" }, 0.90F, 0.68F, 0.26F },
        { { Name::graphite, "graphite", "Graphite" }, 0.64F, 0.66F, 0.70F },
    };
    static constexpr int withoutCase = 1; // the enumerator `custom`: custom colours are stored as components
};

namespace {

constexpr QLatin1StringView customPrefix("custom:srgb:");
constexpr char customTitle[] = "Custom";

// The comparison `<=` turns -0 into 0.
double clamped(double component)
{
    return component <= 0 ? 0 : (component > 1 ? 1 : component);
}

/// The number that `text` contains, in the format of the C locale. A number that is too large gives infinity; a text that is
/// not a number gives nothing.
std::optional<double> parsedNumber(QStringView text)
{
    static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
    const QByteArray bytes = text.toUtf8();
    if (bytes.isEmpty() || std::isspace(static_cast<unsigned char>(bytes[0])))
        return std::nullopt;
    char* end = nullptr;
    const double number = ::strtod_l(bytes.constData(), &end, plain);
    return end == bytes.constData() + bytes.size() ? std::optional(number) : std::nullopt;
}

double quantised(double component)
{
    return std::round(clamped(component) * 10000) / 10000;
}

} // namespace

MeterAccent MeterAccent::custom(const QColor& colour)
{
    // Colours in extended RGB are not converted: their components may be outside of 0…1, and `clamped` limits them.
    const QColor rgb = colour.spec() == QColor::ExtendedRgb ? colour : colour.convertTo(QColor::Rgb);
    if (!colour.isValid() || !rgb.isValid())
        return MeterAccent(Name::signal);
    return MeterAccent(quantised(rgb.redF()), quantised(rgb.greenF()), quantised(rgb.blueF()));
}

std::optional<MeterAccent> MeterAccent::fromRawValue(QStringView text)
{
    if (const auto name = kestrum::fromRawValue<Name>(text))
        return MeterAccent(*name);
    if (!text.startsWith(customPrefix))
        return std::nullopt;

    // Skips pieces that are not numbers, so that an extra word between three valid numbers does no harm.
    QList<double> numbers;
    for (const QStringView piece : text.mid(customPrefix.size()).split(QLatin1Char(','))) {
        if (const auto number = parsedNumber(piece))
            numbers.append(*number);
    }
    if (numbers.size() != 3)
        return std::nullopt;
    for (const double number : numbers) {
        if (!std::isfinite(number))
            return std::nullopt;
    }
    return MeterAccent(clamped(numbers[0]), clamped(numbers[1]), clamped(numbers[2]));
}

const QList<MeterAccent>& MeterAccent::presets()
{
    static const QList<MeterAccent> list = [] {
        QList<MeterAccent> accents;
        for (const auto& entry : allCases<Name>())
            accents.append(MeterAccent(entry.value));
        return accents;
    }();
    return list;
}

QString MeterAccent::rawValue() const
{
    if (!isCustom())
        return kestrum::rawValue(m_name);
    return customPrefix + fixedText(m_red, 4) + u',' + fixedText(m_green, 4) + u',' + fixedText(m_blue, 4);
}

const char* MeterAccent::titleKey() const
{
    return isCustom() ? customTitle : enumerationCase(m_name).title;
}

QColor MeterAccent::color() const
{
    if (isCustom())
        return QColor::fromRgbF(float(m_red), float(m_green), float(m_blue));
    const AccentCase& named = enumerationCase(m_name);
    return QColor::fromRgbF(named.red, named.green, named.blue);
}

} // namespace kestrum
