// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <chrono>

namespace kestrum::BusProbe {

/// Whether a bus at `address` takes a connection but says nothing within `patience`. False where nothing takes connections, and
/// for addresses that are neither a socket's file nor its abstract name, which are not tried. Blocks; any thread.
bool isSilent(const QString& address, std::chrono::milliseconds patience);

} // namespace kestrum::BusProbe
