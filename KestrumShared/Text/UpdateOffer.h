// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <optional>

namespace kestrum {

/// Version texts of updates, and whether an update is worth offering.
namespace UpdateOffer {

/// `version` alone when it equals `build`, else "version (build)".
QString name(const QString& version, const QString& build);

/// The integer between the last "(" and the last ")", with optional white space around it; nothing when there is none or it
/// does not fit 64 bits.
std::optional<qint64> buildNumber(const QString& text);

/// `offered` if it is worth offering to users of `running`; nothing if it is not, or if nothing is offered. If both texts
/// have a build number, the offered one must be larger, so that an old offer ends with the update. Otherwise the texts must
/// differ.
std::optional<QString> standing(const std::optional<QString>& offered, const QString& running);

} // namespace UpdateOffer
} // namespace kestrum
