#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace kestrum {

/// The text form of a settings domain: one JSON object, a key a line, keys in order, so that people can keep it under
/// version control and edit it by hand.
namespace SettingsText {

    constexpr qint64 maximumBytes = 1024 * 1024;
    constexpr int maximumDepth = 32;

    struct Parsed {
        QJsonObject values;
        /// What is wrong with the text; empty for a sound one. `values` then holds what could be salvaged.
        QString damage;
    };

    /// Reads `text`. A blank text is an empty domain. Of a damaged text every top-level member that stands
    /// whole is kept. Of a key that stands twice the last value counts.
    Parsed parsed(const QByteArray &text);

    /// Writes `values`; reading the result gives the same values.
    QByteArray serialised(const QJsonObject &values);

} // namespace SettingsText
} // namespace kestrum
