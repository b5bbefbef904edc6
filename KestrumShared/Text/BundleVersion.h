// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Bundle/Bundle.h"

#include <QString>

namespace kestrum {

namespace BundleVersion {

/// Version and build of `bundle` as people read it, such as "0.2.3 (41)"; "?" stands for what it does not tell.
QString text(const Bundle& bundle = Bundle::main());

} // namespace BundleVersion
} // namespace kestrum
