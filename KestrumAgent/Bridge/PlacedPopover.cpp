// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/PlacedPopover.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Panel/PlaceStand.h"
#include "KestrumAgent/Panel/TrayStand.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "Platform/Desktop/WindowActivation.h"

#ifdef KESTRUM_LAYER_SHELL
#include "KestrumAgent/Panel/LayerStand.h"
#endif

namespace kestrum {

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

void PlacedPopover::makeStand()
{
    if (m_stand)
        return;
    if (PlaceStand::isPossible())
        m_stand = std::make_unique<PlaceStand>(m_strip);
#ifdef KESTRUM_LAYER_SHELL
    else if (LayerSurface::isSupported())
        m_stand = std::make_unique<LayerStand>(m_strip);
#endif
    else
        m_stand = std::make_unique<TrayStand>();
    QObject::connect(
        m_stand.get(), &PopoverStand::dismissed, m_stand.get(), [this] { m_dismissal.remember(); });
}

void PlacedPopover::show(MonitorSection section, const QRect& place, const QByteArray& token)
{
    makeStand();
    const bool isJustDismissed = m_dismissal.isSameAct() && m_shown == section;
    m_shown.reset();
    if (m_popovers.section() == section) {
        m_popovers.close();
        return;
    }
    if (isJustDismissed)
        return;
    m_shown = section;
    if (auto* stand = dynamic_cast<PlaceStand*>(m_stand.get()))
        stand->setPlace(place);
    if (!token.isEmpty())
        WindowActivation::giveToken(token);
    m_popovers.open(section, *m_stand);
    WindowActivation::takeToken();
}

} // namespace kestrum
