// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QRect>

class QScreen;
class QWindow;
struct xcb_connection_t;

namespace kestrum {

/// Follows a window of this process that another program takes into a window of its own on an X server. The toolkit tells
/// neither that nor the size that the other program gives. Main thread only.
class X11Embedding final : public QObject, QAbstractNativeEventFilter {
    Q_OBJECT
public:
    /// The window must outlive this object. Its native window is created if necessary.
    explicit X11Embedding(QWindow& window);

    bool isEmbedded() const { return m_isEmbedded; }
    /// The size that the window has got, in device pixels, when `place` was called last.
    QSize size() const { return m_size; }

    /// Where the window is, in the toolkit's units, and on which screen. The call waits for the X server. The toolkit learns
    /// the place too.
    struct Place {
        QPoint topLeft;
        QScreen* screen = nullptr;
    };
    Place place();

Q_SIGNALS:
    /// The window has got another parent.
    void embedded();
    /// The window may have another size or place.
    void configured();
    /// The other program is gone or has let the window go. The native window may not exist any longer.
    void released();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void tellToolkit(const QRect& pixels);

    QWindow& m_window;
    xcb_connection_t* m_connection = nullptr;
    quint32 m_id = 0;
    quint32 m_root = 0;
    bool m_isEmbedded = false;
    QSize m_size;
    QRect m_told; ///< what the toolkit was told last, in device pixels
};

} // namespace kestrum
