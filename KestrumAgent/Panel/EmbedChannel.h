// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/DockStand.h"
#include "KestrumAgent/Panel/MenuWindow.h"
#include "KestrumAgent/Panel/PanelChannel.h"
#include "Platform/Desktop/NotificationArea.h"
#include "Platform/Desktop/X11Embedding.h"
#include "Platform/Desktop/X11Struts.h"

#include <QTimer>

namespace kestrum {

/// Shows the strip within the notification area of an X11 panel. Where the area tells the panel's colour of texts and shows
/// the panel behind transparent windows, the strip has no plate and stands in the panel's colours.
class EmbedChannel final : public QObject, public PanelChannel {
    Q_OBJECT
public:
    /// The area must exist, and outlive the channel.
    EmbedChannel(PanelStrip& strip, QMenu& menu, NotificationArea& area);
    ~EmbedChannel() override;

    PopoverStand& popoverStand() override { return m_popoverStand; }

Q_SIGNALS:
    /// The area gives the strip less room than it needs: another channel is needed. `width` is what it gives, in points; 0 if
    /// it does not take the strip in.
    void refused(double width);
    /// The area has let the strip go, perhaps because it is gone itself.
    void released();

private:
    void fit();
    void dock();
    void undock();
    bool isPanelSeen() const;
    void adoptLook();
    void arrange();
    void findPlace();
    bool hasRoom() const;
    bool eventFilter(QObject* watched, QEvent* event) override;

    PanelStrip& m_strip;
    NotificationArea& m_area;
    DockStand m_popoverStand;
    MenuWindow m_menuWindow;
    std::unique_ptr<QWidget> m_frame; ///< the window that the area takes in; the strip is a part of it
    std::unique_ptr<X11Embedding> m_embedding;
    std::unique_ptr<X11Struts> m_struts;
    bool m_isTranslucent = false;
    QRect m_place; ///< the strip's, on the screen
    QTimer m_trial;
};

} // namespace kestrum
