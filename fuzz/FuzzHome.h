// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <string_view>

namespace kestrum {

/// What targets may see of the machine: folders of their own instead of the user's, no session bus and no display.
namespace FuzzHome {

/// Sets the environment. Must be called before any target runs, and before there is an application object.
void prepare();

/// Writes a file below `root()`, with its folders. `path` begins with a slash.
void write(const QString& path, std::string_view content);

/// A folder that stands for the root of a machine. It is removed when the program ends by itself.
QString root();

} // namespace FuzzHome
} // namespace kestrum
