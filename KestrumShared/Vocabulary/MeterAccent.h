// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// The colour of a meter: one of eight named colours, or a custom one that carries its sRGB components. Stored as
/// the name, or as "custom:srgb:" and three numbers with four decimals. Two accents are equal when their stored
/// texts are.
class MeterAccent {
public:
    enum class Name { signal, blue, indigo, purple, teal, pine, amber, graphite, custom };

    /// The accent for every text that is not understood.
    static constexpr Name fallback = Name::signal;

    constexpr MeterAccent() = default;
    constexpr MeterAccent(Name name) // NOLINT: a name is an accent
        : m_name(name)
    {
    }

    /// The custom accent of a picked colour: converted to sRGB, clamped and rounded to four decimals, so that the stored
    /// and the current value are equal. A colour without an sRGB form gives `signal`.
    static MeterAccent custom(const QColor& colour);

    /// The accent stored as `text`; nothing when it is not understood. Components outside of 0…1 are clamped.
    static std::optional<MeterAccent> fromRawValue(QStringView text);

    /// The eight named accents in the order of the pickers.
    static const QList<MeterAccent>& presets();

    /// The text to store; `fromRawValue` reads it back.
    QString rawValue() const;
    /// The English display text, which is the key of its translation.
    const char* titleKey() const;
    /// In sRGB, opaque.
    QColor color() const;
    bool isCustom() const { return m_name == Name::custom; }

    bool operator==(const MeterAccent& other) const { return rawValue() == other.rawValue(); }

private:
    constexpr MeterAccent(double red, double green, double blue)
        : m_name(Name::custom)
        , m_red(red)
        , m_green(green)
        , m_blue(blue)
    {
    }

    Name m_name = fallback;
    // Of a custom accent only.
    double m_red = 0;
    double m_green = 0;
    double m_blue = 0;
};

} // namespace kestrum
