#pragma once

#include "Kestrum/Form/ShrinkingLabel.h"

#include <QImage>

namespace kestrum {

/// Whether a label is drawn in that text style and colour.
inline bool looks(ShrinkingLabel& label, Theme::TextStyle style, Theme::Colour colour)
{
    ShrinkingLabel model(style, colour);
    model.setText(label.text());
    model.resize(label.size());
    const auto drawn = [](QWidget& widget) {
        QImage image(widget.size(), QImage::Format_RGB32);
        image.fill(Qt::white);
        widget.render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    };
    return drawn(label) == drawn(model);
}

} // namespace kestrum
