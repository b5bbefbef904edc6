// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <optional>

class QWindow;
struct xcb_connection_t;

namespace kestrum {

/// Finds the notification area of a panel on an X server, which takes in small windows of programs, and follows it: a panel may
/// come late, go, or start again. Without an X server there is none. Main thread only.
class NotificationArea final : public QObject, QAbstractNativeEventFilter {
    Q_OBJECT
public:
    struct Look {
        /// The scheme for what stands on the panel: dark if the panel's own texts are light. Nothing if the panel does not tell
        /// their colour.
        std::optional<ColourScheme> scheme;
        /// Whether windows with transparent parts show the panel behind them.
        bool isTranslucent = false;
        bool operator==(const Look&) const = default;
    };

    explicit NotificationArea(QObject* parent = nullptr);

    /// The window that stands for the area; 0 without an area.
    quint32 window() const { return m_window; }
    /// How the area looked at the last change.
    const Look& look() const { return m_look; }
    /// Asks the area to take in `window`, which must not be shown yet. The answer is that the window gets another parent.
    void dock(const QWindow& window) const;

    /// Whether this desktop's area grants windows any size, but shows them as small as an icon.
    static bool isMisleading();

Q_SIGNALS:
    /// There is another area, or none, or the first one.
    void changed();
    void lookChanged();
    /// The panel is higher or lower now. Its width changes with each icon.
    void heightChanged();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void find();
    Look readLook() const;
    bool follow(quint32 window, quint32 events) const;

    xcb_connection_t* m_connection = nullptr;
    quint32 m_root = 0;
    // X atoms
    quint32 m_selection = 0;
    quint32 m_manager = 0;
    quint32 m_colours = 0;
    quint32 m_visual = 0;
    quint32 m_window = 0;
    int m_height = 0; ///< of the area, in pixels
    Look m_look;
};

} // namespace kestrum
