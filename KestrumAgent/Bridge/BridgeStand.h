// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Bridge/PanelLook.h"
#include "KestrumAgent/Panel/PopoverStand.h"
#include "KestrumAgent/Popover/PopoverWindow.h"
#include "KestrumShared/Agent/PanelContract.h"

#include <QImage>
#include <QPointer>
#include <QTimer>

namespace kestrum {

/// Shows a popover as a picture in a desktop's panel. The window itself is never on the screen: it is painted into an image, and
/// what the user does with the picture comes back as events.
class BridgeStand final : public PopoverStand {
    Q_OBJECT
public:
    /// What has changed since the last picture.
    struct Change {
        QString text;  ///< the whole popover in words
        QString focus; ///< the element that has the keyboard focus, in words; empty without one
        QSize size;    ///< in pixels
        QList<PanelBand> bands;
    };

    BridgeStand();

    /// Takes effect at the next picture.
    void setLook(const PanelLook& look);
    bool isShown() const { return m_window; }

    /// What the pointer does, by the interface's words. An unknown `kind` is ignored.
    void point(const QString& kind, const QPointF& told, double notches);
    /// Presses a key by its name. Unknown names are ignored.
    void pressKey(const QString& name);

    void show(QWidget& window, QSize size, const QRect& item) override;
    void hide() override;
    void takeKeyboard() override { } // the bridge's popover has it as long as it is open
    void setPinned(bool) override { }
    int room() const override { return m_look.room; }
    bool canPin() const override { return false; }
    void copy(const QString& text) override { Q_EMIT copied(text); }
    /// Draws the tip into the picture: so all bridges have it, at the right place.
    void showTip(QWidget& window, QPoint at, const QString& text, const QRect& area) override;

    /// The bands of `now` that differ from `before`, each in the whole width. All of it if the sizes differ. Few equal rows between
    /// two bands do not separate them.
    static QList<PanelBand> bands(const QImage& now, const QImage& before);

Q_SIGNALS:
    void changed(const kestrum::BridgeStand::Change& change);
    void hidden();
    void copied(const QString& text);

private:
    void render();
    void renderTip(QImage& picture) const;
    void followTip(QPoint at);
    void hideTip();
    void send(QEvent& event);

    PanelLook m_look;
    QPointer<PopoverWindow> m_window;
    QImage m_picture; ///< as it was sent last
    QString m_text;
    QString m_focus;
    QString m_tip;
    QPoint m_pointed;
    QRect m_tipArea; ///< empty without a tip
    QTimer m_tipWait;
};

} // namespace kestrum
