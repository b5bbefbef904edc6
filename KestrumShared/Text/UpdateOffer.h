// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <optional>

namespace kestrum {

/// Version texts of updates, and which of them are worth offering.
namespace UpdateOffer {

/// `version` alone when it equals `build`, else "version (build)".
QString name(const QString& version, const QString& build);

/// The whole number between the last "(" and the last ")", with white space around it; nothing when there is none, or
/// none that fits.
std::optional<qint64> buildNumber(const QString& text);

/// `offered` where it is worth offering to those who run `running`: by build number where both texts have one, so that
/// an offer that was left behind ends with the update; else where the texts differ. Nothing stays nothing.
std::optional<QString> standing(const std::optional<QString>& offered, const QString& running);

} // namespace UpdateOffer
} // namespace kestrum
