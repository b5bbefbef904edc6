#pragma once

#include <QLatin1StringView>

namespace kestrum {

/// What the application is called wherever names of many programs meet: in the log, for the desktop, in names of files.
/// The information dictionaries of the bundles in Resources say the same.
inline constexpr QLatin1StringView applicationIdentifier("com.orvale.kestrum");

} // namespace kestrum
