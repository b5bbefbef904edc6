#include "Kestrum/Form/Switch.h"

namespace kestrum {

Switch::Switch(Size size, QWidget* parent)
    : QAbstractButton(parent)
    , m_size(size)
{
}

QSize Switch::sizeHint() const
{
    return m_size == Size::regular ? QSize(38, 22) : QSize(30, 18);
}

void Switch::paintEvent(QPaintEvent*) { }

} // namespace kestrum
