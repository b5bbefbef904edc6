// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <optional>

namespace kestrum {

namespace UpdateOffer {

/// A version as text: `version` alone if `version` equals `build`, else "version (build)".
QString name(const QString& version, const QString& build);

/// The integer between the last "(" and the last ")" of `text`. White space around the integer is ignored. Nothing if there
/// is no integer, or if it does not fit 64 bits.
std::optional<qint64> buildNumber(const QString& text);

/// `offered` if this version is worth offering to users of the version `running`; else nothing. If both texts have a build
/// number, the offered build number must be larger; an old offer thus ends with the update. Otherwise the texts must differ.
std::optional<QString> standing(const std::optional<QString>& offered, const QString& running);

} // namespace UpdateOffer
} // namespace kestrum
