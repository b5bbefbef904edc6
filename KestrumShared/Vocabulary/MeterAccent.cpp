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

template <> struct Enumeration<MeterAccent::Name> {
    using Name = MeterAccent::Name;
    static constexpr EnumerationCase<Name> cases[] = {
        { Name::signal, "signal", "Signal" },
        { Name::blue, "blue", "Blue" },
        { Name::indigo, "indigo", "Indigo" },
        { Name::purple, "purple", "Purple" },
        { Name::teal, "teal", "Teal" },
        { Name::pine, "pine", "Pine" },
        { Name::amber, "amber", "Amber" },
        { Name::graphite, "graphite", "Graphite" },
    };
    static constexpr int withoutCase = 1; // `custom` has no case: a custom colour is stored as its components
};

namespace {

constexpr QLatin1StringView customPrefix("custom:srgb:");
constexpr char customTitle[] = "Custom";

struct Components {
    double red, green, blue;
};

constexpr Components components(MeterAccent::Name name)
{
    switch (name) {
    case MeterAccent::Name::blue:
        return { 0.28, 0.56, 0.92 };
    case MeterAccent::Name::indigo:
        return { 0.42, 0.42, 0.95 };
    case MeterAccent::Name::purple:
        return { 0.58, 0.46, 0.92 };
    case MeterAccent::Name::teal:
        return { 0.22, 0.66, 0.78 };
    case MeterAccent::Name::pine:
        return { 0.14, 0.47, 0.40 };
    case MeterAccent::Name::amber:
        return { 0.90, 0.68, 0.26 };
    case MeterAccent::Name::graphite:
        return { 0.64, 0.66, 0.70 };
    case MeterAccent::Name::signal:
    case MeterAccent::Name::custom:
        break;
    }
    return { 0.27, 0.72, 0.60 };
}

// The comparison `<=` turns -0 into 0.
double clamped(double component)
{
    return component <= 0 ? 0 : (component > 1 ? 1 : component);
}

/// The number in `text`, in the format of the C locale; a number that is too large is infinite. Nothing for any other text.
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
    return std::round(component * 10000) / 10000;
}

QString decimals(double component)
{
    return fixedText(component, 4);
}

} // namespace

MeterAccent MeterAccent::custom(const QColor& colour)
{
    // Extended RGB may have components outside of 0…1, which `clamped` limits; other colour models are converted to plain
    // RGB.
    const QColor rgb = colour.spec() == QColor::ExtendedRgb ? colour : colour.convertTo(QColor::Rgb);
    if (!colour.isValid() || !rgb.isValid())
        return MeterAccent(Name::signal);
    return MeterAccent(
        quantised(clamped(rgb.redF())), quantised(clamped(rgb.greenF())), quantised(clamped(rgb.blueF())));
}

std::optional<MeterAccent> MeterAccent::fromRawValue(QStringView text)
{
    if (const auto name = kestrum::fromRawValue<Name>(text))
        return MeterAccent(*name);
    if (!text.startsWith(customPrefix))
        return std::nullopt;

    // A piece that is not a number is skipped, so that an extra word between three valid numbers does no harm.
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
    return customPrefix + decimals(m_red) + QLatin1Char(',') + decimals(m_green) + QLatin1Char(',')
        + decimals(m_blue);
}

const char* MeterAccent::titleKey() const
{
    return isCustom() ? customTitle : enumerationCase(m_name).title;
}

QColor MeterAccent::color() const
{
    if (isCustom())
        return QColor::fromRgbF(float(m_red), float(m_green), float(m_blue));
    const Components named = components(m_name);
    return QColor::fromRgbF(float(named.red), float(named.green), float(named.blue));
}

} // namespace kestrum
