// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/DockStand.h"
#include "Platform/Desktop/X11Struts.h"

class QScreen;

namespace kestrum {

/// Shows a window beside a place of the display where the strip is not: a status icon, or an item that a panel draws itself. All
/// items' popovers stand beside the same place.
class PlaceStand final : public DockStand {
    Q_OBJECT
public:
    using DockStand::DockStand;

    /// Whether the display lets programs place their windows. Wayland does not.
    static bool isPossible();

    /// Sets the place, in the display's pixels, until the window is hidden. If it is empty, or on no screen, as at first, it is the
    /// pointer's when the window opens. A window that is shown moves there.
    void setPlace(const QRect& place);

    void prepare() override { findGround(); }
    void show(QWidget& window, QSize size, const QRect& item) override;
    void hide() override;
    bool isWithoutStrip() const override { return true; }

    /// The part of `place`, in the display's pixels, that is on `screen`, in the toolkit's units.
    static QRect onScreen(const QRect& place, const QScreen& screen);

    /// What the window stands beside: `place`, as far as the edge of `free` if it lies beyond it. So the window does not cover the
    /// panel that `place` is in.
    static QRect ground(const QRect& place, const QRect& free);

private:
    void findGround();
    void adoptRoom();

    QRect m_wanted;
    QRect m_found; ///< the wanted place or the pointer's, in the toolkit's units
    QPointer<const QScreen> m_screen;
    std::unique_ptr<X11Struts> m_struts; ///< from `prepare` until the window is hidden
};

} // namespace kestrum
