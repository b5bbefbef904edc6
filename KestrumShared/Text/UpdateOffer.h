#pragma once

#include <QString>

namespace kestrum {

namespace UpdateOffer {

/// `version` alone when it equals `build`, else "version (build)".
QString name(const QString& version, const QString& build);

} // namespace UpdateOffer
} // namespace kestrum
