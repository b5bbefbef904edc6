#pragma once

#include <QString>
#include <optional>

namespace kestrum {

/// Version texts of updates, and which of them are worth offering.
namespace UpdateOffer {

/// `version` alone when it equals `build`, else "version (build)".
QString name(const QString& version, const QString& build);

/// The whole number between the last "(" and the last ")"; nothing when there is none.
std::optional<qint64> buildNumber(const QString& text);

} // namespace UpdateOffer
} // namespace kestrum
