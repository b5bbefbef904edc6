// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/LayerStand.h"
#include "KestrumAgent/Panel/LayerSurface.h"
#include "KestrumAgent/Panel/PanelChannel.h"

#include <QLabel>
#include <QTimer>

namespace kestrum {

/// Shows the strip as a layer surface at the trailing end of a Wayland screen's top edge, and reserves its room. The menu and the
/// tool tips have their own layer surfaces: a Qt popup of a layer surface is a protocol error, which would end the process.
class LayerChannel final : public QObject, public PanelChannel {
    Q_OBJECT
public:
    /// Use it only if `LayerSurface::isSupported()` is true.
    /// Without a screen, it is the main one. The screen must outlive the channel.
    LayerChannel(PanelStrip& strip, QMenu& menu, const QScreen* screen = nullptr);
    ~LayerChannel() override;

    PopoverStand& popoverStand() override { return m_popoverStand; }

private:
    const QScreen* screen() const;
    void fit();
    void placeStrip();
    void showTip(const QString& text, const QRect& item);
    void showMenu(QPoint at);
    void placeMenu();
    bool eventFilter(QObject* watched, QEvent* event) override;

    PanelStrip& m_strip;
    QMenu& m_menu;
    const QScreen* m_ownScreen; ///< null: the main one
    QWidget m_row;              ///< as wide as the screen; the strip is a part of it
    LayerSurface m_surface;
    QTimer m_again;
    QLabel m_tip;
    LayerSurface m_tipSurface;
    // The menu is shown on this sheet, which covers the whole area that panels leave free. Clicks next to the menu thus
    // reach this process and close the menu.
    QWidget m_sheet;
    LayerSurface m_sheetSurface;
    std::unique_ptr<QMenu> m_onSheet;
    QPoint m_menuPlace;
    LayerStand m_popoverStand;
};

} // namespace kestrum
