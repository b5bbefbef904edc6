#include "Kestrum/MenuBar/MenuBarPreview.h"

#include "Kestrum/Form/Theme.h"
#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"

#include <QHBoxLayout>
#include <QPainter>

namespace kestrum {

namespace {

constexpr int innerPadding = 14;
constexpr int outerPadding = 16;
constexpr double plateRadius = 14;

} // namespace

MenuBarPreview::MenuBarPreview(QWidget* parent)
    : QWidget(parent)
    , m_strip(new MenuBarStrip(this))
{
    constexpr int padding = innerPadding + outerPadding;
    constexpr QSize room = MenuBarStripView::room;
    auto* layout = new QHBoxLayout(this);
    layout->setSpacing(0);
    layout->setContentsMargins(
        padding - room.width(), padding - room.height(), padding - room.width(), padding - room.height());
    layout->addStretch(1);
    layout->addWidget(m_strip);
}

void MenuBarPreview::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::colour(Theme::Colour::previewPlate));
    painter.drawRoundedRect(rect(), plateRadius, plateRadius);
}

} // namespace kestrum
