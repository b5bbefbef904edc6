// SPDX-License-Identifier: MIT
#pragma once

#include <QLatin1StringView>

namespace kestrum {

/// The application's unique name, used in the log, for the desktop and in file names. The information dictionaries of the
/// bundles in Resources contain the same name.
inline constexpr QLatin1StringView applicationIdentifier("com.orvale.kestrum");

} // namespace kestrum
