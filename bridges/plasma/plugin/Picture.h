// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QQuickItem>

namespace kestrum {

/// Shows an image of the agent's, a pixel of it as a pixel of the screen. The implicit size is the image's on this screen. In a
/// smaller item the image becomes smaller too, and is centred.
class Picture : public QQuickItem {
    Q_OBJECT
    Q_PROPERTY(QImage image READ image WRITE setImage NOTIFY imageChanged)
    /// Pixels of the window's image per unit of the scene. That is what a picture has to be made for: what Qt says of the screen is
    /// a whole number where a Wayland desktop has a fraction.
    Q_PROPERTY(double ratio READ ratio NOTIFY ratioChanged)
public:
    explicit Picture(QQuickItem* parent = nullptr);

    QImage image() const { return m_image; }
    void setImage(const QImage& image);
    /// As long as there is no window, that of the last one; at first 1.
    double ratio() const { return m_ratio; }

Q_SIGNALS:
    void imageChanged();
    void ratioChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    QRectF place() const;
    void measure();
    void adoptRatio();
    void follow();

    double m_ratio = 1;
    QImage m_image;
    bool m_isImageNew = false;
    QRectF m_place;
    QMetaObject::Connection m_frames;
};

} // namespace kestrum
