// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/TrayChannel.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "Platform/Desktop/StatusIcons.h"
#include "Platform/Desktop/SymbolImage.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QPainter>
#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

/// The symbol, centred in a transparent square of `size` pixels.
QPixmap picture(const QString& symbol, int size, const QColor& colour)
{
    const QSizeF natural = SymbolImage::size(symbol, size);
    const double fit = size / std::max(natural.width(), natural.height());
    const QImage image = SymbolImage::image(symbol, size * fit, colour, 1);
    QPixmap square(size, size);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    painter.drawImage((size - image.width()) / 2, (size - image.height()) / 2, image);
    return square;
}

} // namespace

TrayChannel::TrayChannel(PanelStrip& strip, QMenu& menu)
    : m_strip(strip)
    , m_menu(menu)
{
    m_icon.setContextMenu(&m_menu);
    connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, &TrayChannel::adoptAppearance);
    connect(&m_strip, &PanelStrip::rebuilt, this, &TrayChannel::fit);
    connect(&m_strip, &PanelStrip::redrawn, this, &TrayChannel::fit);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            m_popoverStand.press();
    });
    adoptAppearance();
    fit();
}

void TrayChannel::setGround(std::optional<ColourScheme> scheme)
{
    if (std::exchange(m_ground, scheme) != scheme)
        adoptAppearance();
}

void TrayChannel::adoptAppearance()
{
    const ColourScheme scheme = StatusIcons::areOnBlack()
        ? ColourScheme::dark
        : m_ground.value_or(SystemAppearance::shared().scheme());
    QIcon icon;
    for (const int size : { 16, 22, 24, 32, 48, 64 })
        icon.addPixmap(picture(QStringLiteral("cpu"), size, labelColour(scheme)));
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
