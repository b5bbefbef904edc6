#include "Platform/SystemAppearance.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace kestrum {

SystemAppearance& SystemAppearance::shared()
{
    static SystemAppearance appearance;
    return appearance;
}

SystemAppearance::SystemAppearance()
{
    adoptPalette();
    qGuiApp->installEventFilter(this);
}

void SystemAppearance::setScheme(ColourScheme scheme)
{
    m_isFixed = true;
    if (scheme == m_scheme)
        return;
    m_scheme = scheme;
    Q_EMIT changed();
}

void SystemAppearance::adoptPalette()
{
    if (m_isFixed)
        return;
    const QPalette palette = QGuiApplication::palette();
    const bool isDark
        = palette.color(QPalette::WindowText).lightnessF() > palette.color(QPalette::Window).lightnessF();
    const ColourScheme scheme = isDark ? ColourScheme::dark : ColourScheme::light;
    if (scheme == m_scheme)
        return;
    m_scheme = scheme;
    Q_EMIT changed();
}

bool SystemAppearance::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qGuiApp)
        adoptPalette();
    return QObject::eventFilter(watched, event);
}

} // namespace kestrum
