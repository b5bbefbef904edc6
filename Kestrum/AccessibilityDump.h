// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QAccessibleInterface;

namespace kestrum {

/// The window's accessibility tree as text.
namespace AccessibilityDump {

/// One line for `from` and for each visible interface below it, indented by depth: role, name, value or description, and states.
/// An interface that has no name and cannot get the focus has no line, but its children have lines. The text shows the tree of this
/// process, not what arrives over the accessibility bus.
QString text(QAccessibleInterface& from);

} // namespace AccessibilityDump
} // namespace kestrum
