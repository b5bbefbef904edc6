// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Bundle/Bundle.h"

#include <QString>

namespace kestrum {

namespace BundleVersion {

/// Version and build of `bundle` for display, such as "0.2.3 (41)"; "?" stands for a missing part.
QString text(const Bundle& bundle = Bundle::main());

} // namespace BundleVersion
} // namespace kestrum
