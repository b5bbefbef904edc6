// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/ItemSlides.h"

#include "Platform/Desktop/SystemAppearance.h"

namespace kestrum {

namespace {

constexpr int itemSlideMilliseconds = 120;

} // namespace

ItemSlides::ItemSlides()
{
    for (QVariantAnimation& slide : m_slides) {
        slide.setDuration(itemSlideMilliseconds);
        slide.setEasingCurve(QEasingCurve::OutCubic);
        slide.setEndValue(0.0);
        connect(&slide, &QVariantAnimation::valueChanged, this, &ItemSlides::moved);
    }
}

void ItemSlides::begin(MonitorSection section, double offset)
{
    QVariantAnimation& slide = m_slides[size_t(section)];
    slide.stop();
    if (offset != 0 && !SystemAppearance::shared().reducesMotion()) {
        slide.setStartValue(offset);
        slide.start();
    }
    Q_EMIT moved();
}

double ItemSlides::offset(MonitorSection section) const
{
    const QVariantAnimation& slide = m_slides[size_t(section)];
    return slide.state() == QAbstractAnimation::Running ? slide.currentValue().toDouble() : 0;
}

} // namespace kestrum
