// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QImage>
#include <QString>

namespace kestrum {

/// Parts of menu-bar items that always look the same, cached as images until the process ends. Main thread only.
namespace ItemSprites {

/// The symbol in the label colour of `scheme`, at `scale` pixels per point; a null image if the symbol has no picture.
QImage symbol(const QString& name, double pointSize, ColourScheme scheme, double scale);

} // namespace ItemSprites
} // namespace kestrum
