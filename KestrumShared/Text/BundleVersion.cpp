// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/BundleVersion.h"

#include "KestrumShared/Text/UpdateOffer.h"

namespace kestrum {

QString BundleVersion::text(const Bundle& bundle)
{
    const QString missing = QStringLiteral("?");
    return UpdateOffer::name(bundle.infoText(QStringLiteral("CFBundleShortVersionString")).value_or(missing),
        bundle.infoText(QStringLiteral("CFBundleVersion")).value_or(missing));
}

} // namespace kestrum
