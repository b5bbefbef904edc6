#pragma once

#include <unistd.h>

namespace kestrum {

/// Whether this process runs as root, whose choices and agent are not those of whoever is logged in.
inline bool isSuperuser()
{
    return ::geteuid() == 0;
}

} // namespace kestrum
