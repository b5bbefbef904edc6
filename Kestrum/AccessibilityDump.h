#pragma once

#include <QString>

class QAccessibleInterface;

namespace kestrum {

/// What the window tells assistive programs, as a text to be looked at.
namespace AccessibilityDump {

/// A line for `from` and each thing shown below it, indented by how deep it stands: its role, its name, its value or description,
/// and its states. What only holds others together and has no name is left out, its contents are not.
QString text(QAccessibleInterface& from);

} // namespace AccessibilityDump
} // namespace kestrum
