// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/PopoverStand.h"

#include <QPointer>

namespace kestrum {

/// Shows a window that a status icon opens, where the desktop puts it, because on Wayland no program may place its windows. The
/// window is an ordinary one, without a frame, and is dismissed as soon as another window is in use.
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

private:
    bool eventFilter(QObject* watched, QEvent* event) override;

    QPointer<QWidget> m_window;
    QMetaObject::Connection m_screenConnection;
    bool m_isPinned = false;
};

} // namespace kestrum
