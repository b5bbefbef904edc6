// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>
#include <functional>

namespace kestrum {

/// A choice with a picture and a title below it. A click anywhere in the tile, Space and Enter emit `clicked`, also when the
/// tile is selected already. A tile does not select itself: the owner selects it when the value has changed.
class ChoiceTile final : public QAbstractButton {
    Q_OBJECT
public:
    /// Draws the picture with its top left corner at `topLeft`. The tile clips the drawing to the picture's size.
    using Picture = std::function<void(QPainter& painter, const QPointF& topLeft)>;

    /// `title` is shown unchanged.
    ChoiceTile(const QString& title, Picture picture, QWidget* parent = nullptr);

    bool isSelected() const { return m_isSelected; }
    void setSelected(bool isSelected);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    Picture m_picture;
    bool m_isSelected = false;
};

} // namespace kestrum
