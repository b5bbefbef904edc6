// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

namespace kestrum {

/// Whether this process runs as root. Root's settings and agent are not those of the user who is logged in.
inline bool isSuperuser()
{
    return ::geteuid() == 0;
}

} // namespace kestrum
