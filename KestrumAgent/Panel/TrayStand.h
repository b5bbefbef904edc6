// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/PopoverStand.h"

#include <QElapsedTimer>
#include <QPointer>

namespace kestrum {

/// Shows a window that a status icon opens, where the desktop puts it. No program knows where its status icon is. The window
/// is an ordinary one, without a frame, and is dismissed as soon as another window is in use.
class TrayStand final : public PopoverStand {
    Q_OBJECT
public:
    TrayStand();

    void show(QWidget& window, QSize size, const QRect& item) override;
    void hide() override;
    void takeKeyboard() override;
    void setPinned(bool isPinned) override { m_isPinned = isPinned; }
    int room() const override;
    bool isWithoutStrip() const override { return true; }

    /// The status icon was pressed. The press itself may have put another window in use and so dismissed ours; then the
    /// window does not come back.
    void press();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;

    QPointer<QWidget> m_window;
    QMetaObject::Connection m_screenConnection;
    QElapsedTimer m_sinceDismissed;
    bool m_isPinned = false;
};

} // namespace kestrum
