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
public:
    explicit Picture(QQuickItem* parent = nullptr);

    QImage image() const { return m_image; }
    void setImage(const QImage& image);

Q_SIGNALS:
    void imageChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    double ratio() const;
    QRectF place() const;
    void measure();
    void follow();

    QImage m_image;
    bool m_isImageNew = false;
    QRectF m_place;
    QMetaObject::Connection m_frames;
};

} // namespace kestrum
