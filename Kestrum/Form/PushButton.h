// SPDX-License-Identifier: MIT
#pragma once

#include <QPushButton>

namespace kestrum {

/// A button with a text, as wide as the text needs.
class PushButton final : public QPushButton {
    Q_OBJECT
public:
    explicit PushButton(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    static constexpr double radius = 6; ///< of the plate's corners
    /// Paints a button's background, also for other controls that look like a button. The background has the size of `control`
    /// and shows its state. For a disabled control the painter's opacity stays reduced after the call.
    static void paintPlate(QPainter& painter, const QWidget& control, bool isPressed);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
};

} // namespace kestrum
