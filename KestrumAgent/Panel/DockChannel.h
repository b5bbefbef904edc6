// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/DockStand.h"
#include "KestrumAgent/Panel/MenuWindow.h"
#include "KestrumAgent/Panel/PanelChannel.h"
#include "Platform/Desktop/X11Struts.h"

#include <QMetaObject>
#include <QObject>
#include <QTimer>

class QScreen;

namespace kestrum {

/// Shows the strip as a dock window at the trailing end of a screen's top edge, outside of the area that panels
/// reserve. The window reserves its own room, so that no maximised window has its title bar below it. The window never takes
/// the keyboard focus, and is visible on every virtual desktop.
class DockChannel final : public QObject, public PanelChannel {
    Q_OBJECT
public:
    /// Without a screen, it is the main one, also when another becomes that. The screen must outlive the channel.
    DockChannel(PanelStrip& strip, QMenu& menu, QScreen* screen = nullptr);
    ~DockChannel() override;

    PopoverStand& popoverStand() override { return m_popoverStand; }

private:
    void follow(QScreen* screen);
    void fit();
    void check();

    QScreen* screen() const;

    PanelStrip& m_strip;
    QScreen* m_ownScreen; ///< null: the main one
    std::unique_ptr<X11Struts> m_struts;
    DockStand m_popoverStand;
    MenuWindow m_menuWindow;
    QRect m_place; ///< the strip's, on the screen
    QTimer m_check;
    int m_losses = 0; ///< how often the window was not on the screen though it was shown
    QMetaObject::Connection m_screenConnection;
};

} // namespace kestrum
