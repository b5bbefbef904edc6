// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <optional>

namespace kestrum {

/// Version texts of updates, and whether an update is worth offering.
namespace UpdateOffer {

/// `version` alone when it equals `build`, else "version (build)".
QString name(const QString& version, const QString& build);

/// The whole number between the last "(" and the last ")", white space around it allowed; nothing when there is none or it
/// does not fit.
std::optional<qint64> buildNumber(const QString& text);

/// `offered` if it is worth offering to users of `running`: by build number where both texts have one, so that an old offer
/// ends with the update; else where the texts differ. Nothing stays nothing.
std::optional<QString> standing(const std::optional<QString>& offered, const QString& running);

} // namespace UpdateOffer
} // namespace kestrum
