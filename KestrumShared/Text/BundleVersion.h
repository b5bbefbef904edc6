// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Text/UpdateOffer.h"
#include "Platform/Bundle/Bundle.h"

namespace kestrum {

namespace BundleVersion {

/// Version and build of `bundle` for display, such as "0.2.3 (41)"; "?" stands for a missing part.
inline QString text(const Bundle& bundle = Bundle::main())
{
    const QString missing = QStringLiteral("?");
    return UpdateOffer::name(bundle.infoText(QStringLiteral("CFBundleShortVersionString")).value_or(missing),
        bundle.infoText(QStringLiteral("CFBundleVersion")).value_or(missing));
}

} // namespace BundleVersion
} // namespace kestrum
