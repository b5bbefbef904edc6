#include "Kestrum/Form/ColourWell.h"

#include <QColorDialog>
#include <QPainter>

namespace kestrum {

ColourWell::ColourWell(QWidget* parent)
    : QAbstractButton(parent)
{
}

void ColourWell::setColour(const QColor& colour)
{
    m_colour = colour;
    update();
}

void ColourWell::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), m_colour);
}

} // namespace kestrum
