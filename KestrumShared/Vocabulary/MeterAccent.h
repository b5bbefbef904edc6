// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// The colour of a meter: one of eight named colours or a custom colour. The stored text is the name, or "custom:srgb:" and
/// the three sRGB components with four decimals. Two accents are equal if their stored texts are equal.
class MeterAccent {
public:
    enum class Name { signal, blue, indigo, purple, teal, pine, amber, graphite, custom };

    /// The accent that is used if a stored text is not understood.
    static constexpr Name fallback = Name::signal;

    constexpr MeterAccent() = default;
    constexpr MeterAccent(Name name) // NOLINT: a name is an accent
        : m_name(name)
    {
    }

    /// The custom accent for `colour`, converted to sRGB. The components are clamped and rounded to four decimals, so that
    /// storing the accent does not change it. A colour without an sRGB form gives `signal`.
    static MeterAccent custom(const QColor& colour);

    /// The accent whose stored text is `text`; nothing if `text` is not understood. Components outside of 0…1 are clamped.
    static std::optional<MeterAccent> fromRawValue(QStringView text);

    /// The eight named accents in the order of the pickers.
    static const QList<MeterAccent>& presets();

    /// The text to store, which `fromRawValue` can read.
    QString rawValue() const;
    /// The English display text, which is the key of its translation.
    const char* titleKey() const;
    /// The opaque colour, in sRGB.
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
    // The components of a custom accent; unused otherwise.
    double m_red = 0;
    double m_green = 0;
    double m_blue = 0;
};

} // namespace kestrum
