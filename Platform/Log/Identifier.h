// SPDX-License-Identifier: MIT
#pragma once

#include <QLatin1StringView>

namespace kestrum {

/// The application's unique identifier, for the log, the desktop and file names. The information dictionaries of the bundles in
/// Resources contain the same identifier.
inline constexpr QLatin1StringView applicationIdentifier("com.orvale.kestrum");

} // namespace kestrum
