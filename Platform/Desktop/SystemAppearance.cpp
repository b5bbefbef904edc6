// SPDX-License-Identifier: MIT
#include "Platform/Desktop/SystemAppearance.h"

#include "Platform/Desktop/AppearancePortal.h"
#include "Platform/Desktop/DesktopBus.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QTimer>
#include <chrono>

namespace kestrum {
namespace {

// The portal is asked only after this delay, because asking must not delay the first frame.
constexpr std::chrono::milliseconds delayBeforeAsking { 100 };

ColourScheme schemeOf(const QPalette& palette)
{
    const bool isDark
        = palette.color(QPalette::WindowText).lightnessF() > palette.color(QPalette::Window).lightnessF();
    return isDark ? ColourScheme::dark : ColourScheme::light;
}

} // namespace

SystemAppearance& SystemAppearance::shared()
{
    static SystemAppearance appearance;
    return appearance;
}

SystemAppearance::SystemAppearance()
    : m_portal(new AppearancePortal(this))
    , m_scheme(schemeOf(QGuiApplication::palette()))
{
    qGuiApp->installEventFilter(this);
    connect(m_portal, &AppearancePortal::changed, this, &SystemAppearance::adopt);
    QTimer::singleShot(delayBeforeAsking, this, [this] {
        if (!m_isFixed)
            m_portal->start(DesktopBus::address());
    });
}

bool SystemAppearance::reducesMotion() const
{
    return m_reducesMotion.value_or(m_portal->reducesMotion());
}

void SystemAppearance::setScheme(ColourScheme scheme, const std::optional<QColor>& accent)
{
    m_isFixed = true;
    become(scheme, accent);
}

void SystemAppearance::adopt()
{
    if (!m_isFixed)
        become(m_portal->scheme().value_or(schemeOf(QGuiApplication::palette())), m_portal->accent());
}

// `changed` is emitted only for a real difference. An application that restyles itself on `changed` also changes its
// palette, and a palette change calls this function again.
void SystemAppearance::become(ColourScheme scheme, const std::optional<QColor>& accent)
{
    if (scheme == m_scheme && accent == m_accent)
        return;
    m_scheme = scheme;
    m_accent = accent;
    Q_EMIT changed();
}

bool SystemAppearance::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qGuiApp)
        adopt();
    return QObject::eventFilter(watched, event);
}

} // namespace kestrum
