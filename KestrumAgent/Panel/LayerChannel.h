// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/LayerSurface.h"
#include "KestrumAgent/Panel/PanelChannel.h"

#include <QLabel>
#include <QTimer>

namespace kestrum {

/// The strip as a layer surface at the trailing end of a Wayland screen's top edge. A popup of Qt's beside such a
/// surface is a protocol error, which ends the process. So menus and tool tips have surfaces of their own.
class LayerChannel final : public QObject, public PanelChannel {
    Q_OBJECT
public:
    /// Only where `LayerSurface::isSupported`.
    LayerChannel(PanelStrip& strip, QMenu& menu);
    ~LayerChannel() override;

private:
    void fit();
    void showTip(const QString& text, const QRect& item);
    void showMenu(QPoint at);
    void placeMenu();
    bool eventFilter(QObject* watched, QEvent* event) override;

    PanelStrip& m_strip;
    QMenu& m_menu;
    LayerSurface m_surface;
    QTimer m_again;
    QLabel m_tip;
    LayerSurface m_tipSurface;
    // A click beside the menu reaches nobody who could close it: it lies on a sheet over all that panels leave free.
    QWidget m_sheet;
    LayerSurface m_sheetSurface;
    std::unique_ptr<QMenu> m_onSheet;
    QPoint m_menuPlace;
};

} // namespace kestrum
