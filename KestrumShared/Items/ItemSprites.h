// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QImage>
#include <QString>

namespace kestrum {

/// Parts of menu-bar items that look the same at every drawing, cached as images until the process ends. Main thread only.
namespace ItemSprites {

/// The symbol in the label colour of `scheme`; a null image when there is no drawing of it.
QImage symbol(const QString& name, double pointSize, ColourScheme scheme, double scale);

} // namespace ItemSprites
} // namespace kestrum
