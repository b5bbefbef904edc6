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
    /// The ground of a button, for whatever else looks like one: as large as `control` and in its state. What is painted on a
    /// disabled control is pale from then on.
    static void paintPlate(QPainter& painter, const QWidget& control, bool isPressed);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
};

} // namespace kestrum
