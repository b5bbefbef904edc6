// SPDX-License-Identifier: MIT
#pragma once

#include <QLatin1StringView>

namespace kestrum {

/// The application's unique name: in the log, for the desktop, in file names. The information dictionaries of the bundles in
/// Resources have the same.
inline constexpr QLatin1StringView applicationIdentifier("com.orvale.kestrum");

} // namespace kestrum
