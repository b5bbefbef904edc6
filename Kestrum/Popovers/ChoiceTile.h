#pragma once

#include <QAbstractButton>
#include <functional>

namespace kestrum {

/// A choice that is shown by a picture, with its title below. A click anywhere in its rectangle, Space and Enter choose it:
/// `clicked` tells, also when it is the one chosen. It does not select itself; whoever follows the choice does.
class ChoiceTile final : public QAbstractButton {
    Q_OBJECT
public:
    /// Draws the picture with its top left corner at a place of the painter; it is cut to its size.
    using Picture = std::function<void(QPainter& painter, const QPointF& topLeft)>;

    /// `title` as people see it.
    ChoiceTile(const QString& title, Picture picture, QWidget* parent = nullptr);

    bool isSelected() const { return m_isSelected; }
    void setSelected(bool isSelected);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool hitButton(const QPoint& place) const override;

private:
    Picture m_picture;
    bool m_isSelected = false;
};

} // namespace kestrum
