// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/LayerStand.h"
#include "KestrumAgent/Panel/LayerSurface.h"
#include "KestrumAgent/Panel/PanelChannel.h"

#include <QLabel>
#include <QTimer>

namespace kestrum {

/// Shows the strip as a layer surface at the trailing end of the main Wayland screen's top edge, and reserves its room. The menu and the tool tips have
/// their own layer surfaces: a Qt popup of a layer surface is a protocol error, which would end the process.
class LayerChannel final : public QObject, public PanelChannel {
    Q_OBJECT
public:
    /// Use it only if `LayerSurface::isSupported()` is true.
    LayerChannel(PanelStrip& strip, QMenu& menu);
    ~LayerChannel() override;

    PopoverStand& popoverStand() override { return m_popoverStand; }

private:
    void fit();
    void adoptWidth();
    void showTip(const QString& text, const QRect& item);
    void showMenu(QPoint at);
    void placeMenu();
    bool eventFilter(QObject* watched, QEvent* event) override;

    PanelStrip& m_strip;
    QMenu& m_menu;
    LayerSurface m_surface;
    int m_rowWidth = 0; ///< what panels leave free of the screen's width, as far as it is known
    int m_margin = 0;   ///< between the row's leading end and the strip
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
