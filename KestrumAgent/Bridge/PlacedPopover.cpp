// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/PlacedPopover.h"

#include "KestrumAgent/Panel/DockStand.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Panel/TrayStand.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "Platform/Desktop/WindowActivation.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace kestrum {

namespace {

/// Within this time, in ms, the loss of the focus and the request that follows are one act of the user: a click on the panel,
/// which runs a command that asks for the popover.
constexpr qint64 oneClick = 500;

/// Beside one place, whichever item's popover it is.
class PlaceStand final : public DockStand {
public:
    using DockStand::DockStand;

    void setPlace(const QRect& ground, const QRect& free)
    {
        m_size = ground.size();
        setGround(ground, free);
    }
    void show(QWidget& window, QSize size, const QRect&) override
    {
        DockStand::show(window, size, QRect(QPoint(), m_size));
    }
    bool isWithoutStrip() const override { return true; }

private:
    QSize m_size;
};

} // namespace

PlacedPopover::PlacedPopover(PanelStrip& strip, PopoverController& popovers)
    : m_strip(strip)
    , m_popovers(popovers)
{
}

PlacedPopover::~PlacedPopover()
{
    if (m_stand)
        m_popovers.leave(*m_stand);
}

QRect PlacedPopover::onScreen(const QRect& place, const QScreen& screen)
{
    // A screen's own corner is the same in both units.
    const QRect whole = screen.geometry();
    const double ratio = screen.devicePixelRatio();
    const QRect part = place & QRect(whole.topLeft(), (QSizeF(whole.size()) * ratio).toSize());
    if (place.isEmpty() || part.isEmpty())
        return {};
    const QRectF scaled(QPointF(part.topLeft() - whole.topLeft()) / ratio, QSizeF(part.size()) / ratio);
    return scaled.toAlignedRect().translated(whole.topLeft());
}

QRect PlacedPopover::ground(const QRect& place, const QRect& free)
{
    QRect ground = place;
    if (ground.top() > free.bottom())
        ground.setTop(free.bottom() + 1);
    else if (ground.bottom() < free.top())
        ground.setBottom(free.top() - 1);
    return ground;
}

void PlacedPopover::makeStand()
{
    if (m_stand)
        return;
    if (QGuiApplication::platformName().startsWith(QLatin1StringView("wayland")))
        m_stand = std::make_unique<TrayStand>();
    else
        m_stand = std::make_unique<PlaceStand>(m_strip);
    QObject::connect(
        m_stand.get(), &PopoverStand::dismissed, m_stand.get(), [this] { m_sinceDismissed.start(); });
}

void PlacedPopover::show(MonitorSection section, const QRect& place, const QByteArray& token)
{
    makeStand();
    const bool isJustDismissed
        = m_shown == section && m_sinceDismissed.isValid() && m_sinceDismissed.elapsed() < oneClick;
    m_sinceDismissed.invalidate();
    m_shown.reset();
    if (m_popovers.section() == section) {
        m_popovers.close();
        return;
    }
    if (isJustDismissed)
        return;
    m_shown = section;
    if (auto* stand = dynamic_cast<PlaceStand*>(m_stand.get())) {
        QRect found;
        const QScreen* screen = nullptr;
        for (const QScreen* one : QGuiApplication::screens()) {
            if (found = onScreen(place, *one); !found.isEmpty()) {
                screen = one;
                break;
            }
        }
        if (!screen) {
            found = QRect(QCursor::pos(), QSize(1, 1));
            screen = QGuiApplication::screenAt(found.topLeft());
        }
        if (!screen)
            screen = QGuiApplication::primaryScreen();
        if (!screen)
            return;
        const QRect free = screen->availableGeometry();
        stand->setPlace(ground(found, free), free);
    }
    if (!token.isEmpty())
        WindowActivation::giveToken(token);
    m_popovers.open(section, *m_stand);
    WindowActivation::takeToken();
}

} // namespace kestrum
