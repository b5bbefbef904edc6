// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QAccessibleInterface;

namespace kestrum {

namespace AccessibilityDump {

/// Returns one line for `from` and one for each visible interface below `from`, indented by depth, with role, name, value,
/// description and states. An interface that has no name and cannot get the focus has no line, but its children have lines. The
/// text shows the tree in this process, not what assistive programs receive over the accessibility bus.
QString text(QAccessibleInterface& from);

} // namespace AccessibilityDump
} // namespace kestrum
