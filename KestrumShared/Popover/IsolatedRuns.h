// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrum {

/// `text` for drawing in a right-to-left panel: each left-to-right run, such as a path, a name or a number with its unit, is
/// put between the marks of an isolate. Without them, the text would be drawn as "home/" and "GB 412". A mark at the end of
/// a sentence stays outside, and so stands at the left end. For drawing only: clipboard and screen readers take `text`.
QString isolatedRuns(const QString& text);

/// Whether a text has letters or digits of a right-to-left script.
bool hasRightToLeft(QStringView text);

} // namespace kestrum
