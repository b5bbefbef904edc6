// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum::AppLanguage {

/// The stored choice that stands for "follow the session's languages".
inline constexpr char systemChoice[] = "system";

} // namespace kestrum::AppLanguage
