// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <wayland-client.h>

namespace kestrum {

/// Objects of the compositor that the toolkit does not give out.
namespace WaylandGlobals {

/// The toolkit's connection to the compositor; null on other platforms.
wl_display* display();

/// Binds the compositor's global object with that interface, in its own version but at most `newest`. Waits for the
/// compositor. Null if the compositor has no such object. The caller owns the result; its events come from the toolkit's
/// event loop.
void* bind(const wl_interface& interface, uint32_t newest);

} // namespace WaylandGlobals
} // namespace kestrum
