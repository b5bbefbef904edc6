// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum::AppLanguage {

/// The stored choice that means the session's languages.
inline constexpr char systemChoice[] = "system";

} // namespace kestrum::AppLanguage
