// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/PanelChannel.h"

#include "KestrumAgent/Panel/DockChannel.h"
#include "KestrumAgent/Panel/TrayChannel.h"

#include <QGuiApplication>

#ifdef KESTRUM_LAYER_SHELL
#include "KestrumAgent/Panel/LayerChannel.h"
#endif

namespace kestrum {

std::unique_ptr<PanelChannel> PanelChannel::make(PanelStrip& strip, QMenu& menu)
{
    // A `DockChannel` sets the position of an ordinary window, which Wayland does not allow.
    if (!QGuiApplication::platformName().startsWith(QLatin1StringView("wayland")))
        return std::make_unique<DockChannel>(strip, menu);
#ifdef KESTRUM_LAYER_SHELL
    if (LayerSurface::isSupported())
        return std::make_unique<LayerChannel>(strip, menu);
#endif
    return std::make_unique<TrayChannel>(strip, menu);
}

} // namespace kestrum
