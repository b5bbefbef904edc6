// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/TrayChannel.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Panel/PlaceStand.h"
#include "KestrumAgent/Panel/TrayStand.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "Platform/Desktop/StatusIcons.h"
#include "Platform/Desktop/SymbolImage.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QPainter>
#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

/// Rounded corners and the room around the symbol on a plate, as parts of its size.
constexpr double plateRadius = 0.22;
constexpr double plateMargin = 0.12;

/// The symbol in the middle of a square of `size` pixels, which is transparent or has a plate.
QPixmap picture(int size, ColourScheme scheme, bool hasPlate)
{
    const QString symbol = QStringLiteral("cpu");
    const QSizeF natural = SymbolImage::size(symbol, size);
    const double inner = hasPlate ? size * (1 - 2 * plateMargin) : size;
    const double fit = inner / std::max(natural.width(), natural.height());
    const QImage image = SymbolImage::image(symbol, size * fit, labelColour(scheme), 1);
    QPixmap square(size, size);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    if (hasPlate) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(StripBackground::plate(scheme));
        painter.drawRoundedRect(square.rect(), size * plateRadius, size * plateRadius);
    }
    painter.drawImage((size - image.width()) / 2, (size - image.height()) / 2, image);
    return square;
}

} // namespace

TrayChannel::TrayChannel(PanelStrip& strip, QMenu& menu, std::optional<ColourScheme> ground)
    : m_strip(strip)
    , m_menu(menu)
    , m_ground(ground)
{
    m_icon.setContextMenu(&m_menu);
    connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, &TrayChannel::adoptAppearance);
    connect(&m_strip, &PanelStrip::rebuilt, this, &TrayChannel::fit);
    connect(&m_strip, &PanelStrip::redrawn, this, &TrayChannel::fit);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            press();
    });
    if (PlaceStand::isPossible())
        m_popoverStand = std::make_unique<PlaceStand>(m_strip);
    else
        m_popoverStand = std::make_unique<TrayStand>();
    connect(m_popoverStand.get(), &PopoverStand::dismissed, this, [this] { m_dismissal.remember(); });
    adoptAppearance();
    fit();
}

void TrayChannel::setGround(std::optional<ColourScheme> scheme)
{
    if (std::exchange(m_ground, scheme) != scheme)
        adoptAppearance();
}

/// The icon's place is known to its host only. The popover stands beside the pointer, which is on the icon.
void TrayChannel::press()
{
    if (!m_dismissal.isSameAct())
        Q_EMIT m_popoverStand->toggleRequested();
}

void TrayChannel::adoptAppearance()
{
    const std::optional<ColourScheme> ground
        = StatusIcons::areOnBlack() ? std::optional(ColourScheme::dark) : m_ground;
    // Many panels are dark below light windows. Where the panel does not tell, the icon brings its own ground.
    const ColourScheme scheme = ground.value_or(SystemAppearance::shared().scheme());
    QIcon icon;
    for (const int size : { 16, 22, 24, 32, 48, 64 })
        icon.addPixmap(picture(size, scheme, !ground));
    m_icon.setIcon(icon);
}

void TrayChannel::fit()
{
    if (const QString text = m_strip.summary(); text != m_icon.toolTip())
        m_icon.setToolTip(text);
    if (m_icon.isVisible() == m_strip.isEmpty())
        m_icon.setVisible(!m_strip.isEmpty());
}

} // namespace kestrum
