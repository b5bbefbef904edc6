// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QPoint>
#include <qnamespace.h>

struct xcb_connection_t;

namespace kestrum {

/// Hears every press of a button or a finger anywhere on an X server's display, as long as this object lives. Nothing is
/// grabbed: presses reach the windows that they hit, and a screen locker gets its own grabs. Without an X server, nothing is
/// ever heard. Main thread only.
class X11Presses final : public QObject, QAbstractNativeEventFilter {
    Q_OBJECT
public:
    explicit X11Presses(QObject* parent = nullptr);
    ~X11Presses() override;

Q_SIGNALS:
    /// A button was pressed at `place`, in the toolkit's units. A turn of the wheel is no press. A finger counts as the left
    /// button; buttons beside the usual three count as `Qt::ExtraButton1`.
    void pressed(QPoint place, Qt::MouseButton button);

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    static void select(xcb_connection_t& connection, quint32 events);

    xcb_connection_t* m_connection = nullptr; ///< null if nothing is heard
    quint8 m_extension = 0;                   ///< number of the input extension's events
};

} // namespace kestrum
