// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/LayerSheet.h"
#include "KestrumAgent/Panel/LayerSurface.h"
#include "KestrumAgent/Panel/PopoverStand.h"

#include <QPointer>
#include <memory>
#include <vector>

namespace kestrum {

class PanelStrip;

/// Shows a window as a layer surface below an item of a strip that is a layer surface too. A popup of the compositor's is no
/// way: its grab keeps some lockers from locking the screen, and to the toolkit it would be a popup of nothing.
class LayerStand final : public PopoverStand {
    Q_OBJECT
public:
    explicit LayerStand(PanelStrip& strip);

    void show(QWidget& window, QSize size, const QRect& item) override;
    void hide() override;
    void takeKeyboard() override;
    void setPinned(bool isPinned) override;
    int room() const override;
    QMargins shadowRoom() const override { return shadowRoomBeside(Qt::TopEdge); }
    PanelStrip* strip() const override { return &m_strip; }
    /// Shows nothing: a tip of the toolkit's is a popup, and a popup of a layer surface ends the process.
    void showTip(QWidget&, QPoint, const QString&, const QRect&) override { }

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    QSize freeSize() const;
    void spreadSheets();
    void foldSheets();
    void arrange();

    PanelStrip& m_strip;
    QPointer<QWidget> m_window;
    std::unique_ptr<LayerSheet> m_sheet; ///< on the window's screen; none while the window is pinned
    std::vector<std::unique_ptr<LayerSheet>> m_furtherSheets; ///< on the other screens
    std::unique_ptr<LayerSurface> m_surface;
    QMetaObject::Connection m_screenConnection;
    QSize m_free;
    QSize m_size;
    QRect m_item;
    bool m_isPinned = false;
    bool m_isTaking = false; ///< a pinned window claims the keyboard, until it has it
};

} // namespace kestrum
