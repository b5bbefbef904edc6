// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>
#include <functional>

namespace kestrum {

/// A choice with a picture and a title below it. A click anywhere in its rectangle, Space and Enter emit `clicked`, also when it
/// is selected already. It does not select itself: the owner does, when the value has changed.
class ChoiceTile final : public QAbstractButton {
    Q_OBJECT
public:
    /// Draws the picture with its top left corner at `topLeft`. The tile clips it to the size of pictures.
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
