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

    enum class Plate { plain, hovered, pressed };
    static constexpr double radius = 6; ///< of the plate's corners
    /// The ground of a button that fills `place`, for whatever else looks like one.
    static void paintPlate(QPainter& painter, const QRect& place, Plate plate);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
};

} // namespace kestrum
