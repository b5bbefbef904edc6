// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/ShrinkingLabel.h"

#include <QAccessible>
#include <QApplication>
#include <QImage>
#include <QMetaEnum>
#include <QTest>
#include <QWheelEvent>

namespace kestrum {

/// Shows a window, and waits until it is active.
inline void activate(QWidget& window)
{
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
}

/// Handles all waiting events, such as requests for a layout. Nested layouts need one round for each level.
inline void settle()
{
    for (int round = 0; round < 5; ++round) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

/// Turns the mouse wheel over the middle of a widget. Returns whether the widget accepted the event. With `isReal`, an event
/// that the widget ignores goes to the widgets around it, as with a mouse.
inline bool turnWheel(
    QWidget& widget, QPoint angle, Qt::KeyboardModifiers modifiers = {}, bool isReal = false)
{
    const QPointF at = widget.rect().center();
    QWheelEvent event(
        at, widget.mapToGlobal(at), {}, angle, Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
    if (isReal)
        QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(&widget, &event);
    return event.isAccepted();
}

/// A picture of a widget and its children on a background of one colour.
inline QImage pictureOf(QWidget& widget, const QColor& ground = Qt::transparent, double scale = 1)
{
    QImage image((QSizeF(widget.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(ground);
    widget.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

/// Some pixels of an image: their number, and the smallest rectangle around them (null when there are none).
struct FoundPixels {
    int count = 0;
    QRect place;
};
/// The pixels whose colour fulfils a condition.
template <class Condition> FoundPixels pixelsThat(const QImage& image, Condition fulfils)
{
    FoundPixels found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (fulfils(image.pixel(x, y))) {
                ++found.count;
                found.place |= QRect(x, y, 1, 1);
            }
        }
    }
    return found;
}
inline FoundPixels pixelsOf(const QImage& image, const QColor& colour)
{
    return pixelsThat(image, [rgba = colour.rgba()](QRgb pixel) { return pixel == rgba; });
}
inline FoundPixels pixelsOtherThan(const QImage& image, const QColor& colour)
{
    return pixelsThat(image, [rgba = colour.rgba()](QRgb pixel) { return pixel != rgba; });
}

/// The amount of ink in a picture: the sum of all contrasts to white.
inline double inkOf(const QImage& picture)
{
    double sum = 0;
    pixelsThat(picture, [&sum](QRgb pixel) {
        sum += 255 - qGray(pixel);
        return false;
    });
    return sum;
}

/// The text by which assistive programs announce a widget: its role and its name, such as "Button Install".
inline QString heard(QAccessibleInterface* part)
{
    const QMetaEnum roles = QMetaEnum::fromType<QAccessible::Role>();
    return QString::fromLatin1(roles.valueToKey(part->role())) + u' ' + part->text(QAccessible::Name);
}
inline QString heard(QWidget* widget)
{
    return heard(QAccessible::queryAccessibleInterface(widget));
}

/// Whether a label is drawn in that text style and colour.
inline bool looks(ShrinkingLabel& label, Theme::TextStyle style, Theme::Colour colour)
{
    ShrinkingLabel model(style, colour);
    model.setText(label.text());
    model.resize(label.size());
    return pictureOf(label, Qt::white) == pictureOf(model, Qt::white);
}

} // namespace kestrum
