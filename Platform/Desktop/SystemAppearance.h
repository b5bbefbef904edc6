// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QObject>
#include <optional>

namespace kestrum {

enum class ColourScheme { light, dark };

class AppearancePortal;

/// The desktop's light or dark scheme and its accent colour. At start-up the scheme comes from the application's palette.
/// `changed` is emitted when the desktop portal's later answer differs. One object per process, main thread only.
class SystemAppearance : public QObject {
    Q_OBJECT
public:
    static SystemAppearance& shared();

    ColourScheme scheme() const { return m_scheme; }

    /// The accent colour; nothing if the desktop has none or the desktop portal has not answered yet.
    const std::optional<QColor>& accent() const { return m_accent; }

    /// Whether animations should be left out.
    bool reducesMotion() const;

    /// Fixes the scheme and the accent, for pictures and tests. Later changes of the desktop are ignored.
    void setScheme(ColourScheme scheme, const std::optional<QColor>& accent = std::nullopt);
    /// Fixes the value of `reducesMotion`, for tests.
    void setReducesMotion(bool reduces) { m_reducesMotion = reduces; }

Q_SIGNALS:
    /// The scheme or the accent has changed.
    void changed();

private:
    SystemAppearance();
    void adopt();
    void become(ColourScheme scheme, const std::optional<QColor>& accent);
    bool eventFilter(QObject* watched, QEvent* event) override;

    AppearancePortal* m_portal;
    ColourScheme m_scheme = ColourScheme::light;
    std::optional<QColor> m_accent;
    std::optional<bool> m_reducesMotion;
    bool m_isFixed = false;
};

} // namespace kestrum
