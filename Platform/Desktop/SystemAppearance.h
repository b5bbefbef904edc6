#pragma once

#include <QColor>
#include <QObject>
#include <optional>

namespace kestrum {

enum class ColourScheme { light, dark };

class AppearancePortal;

/// The desktop's light or dark scheme and its accent colour. Starts from the application's palette, so that nothing
/// waits at start-up; the desktop portal's answer, when it comes, is told by `changed`. One per process, main thread.
class SystemAppearance : public QObject {
    Q_OBJECT
public:
    static SystemAppearance& shared();

    ColourScheme scheme() const { return m_scheme; }

    /// Nothing where the desktop names none.
    const std::optional<QColor>& accent() const { return m_accent; }

    /// Whether things that move should rather stand still.
    bool reducesMotion() const;

    /// Fixes scheme and accent, for pictures and tests; nothing follows the desktop from then on.
    void setScheme(ColourScheme scheme, const std::optional<QColor>& accent = std::nullopt);
    /// Fixes whether things stand still, for tests.
    void setReducesMotion(bool reduces) { m_reducesMotion = reduces; }

Q_SIGNALS:
    /// Scheme or accent is another one now.
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
