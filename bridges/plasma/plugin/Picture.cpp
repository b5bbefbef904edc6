// SPDX-License-Identifier: MIT
#include "Picture.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>
#include <algorithm>
#include <cmath>
#include <memory>

namespace kestrum {

Picture::Picture(QQuickItem* parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void Picture::setImage(const QImage& image)
{
    // Equal images share their pixels here: comparing them costs nothing.
    if (image.cacheKey() == m_image.cacheKey())
        return;
    m_image = image;
    m_isImageNew = true;
    measure();
    update();
    Q_EMIT imageChanged();
}

void Picture::measure()
{
    setImplicitSize(m_image.width() / m_ratio, m_image.height() / m_ratio);
}

void Picture::adoptRatio()
{
    if (!window() || window()->effectiveDevicePixelRatio() == m_ratio)
        return;
    m_ratio = window()->effectiveDevicePixelRatio();
    measure();
    update();
    Q_EMIT ratioChanged();
}

/// Where the image is drawn, in this item: its edges are on the edges of the screen's pixels, wherever the item itself is.
QRectF Picture::place() const
{
    const QSizeF size = QSizeF(m_image.size()) / m_ratio;
    const double smaller = std::min({ 1.0, width() / size.width(), height() / size.height() });
    // Less than a pixel is the layout's rounding.
    if (smaller < 1 && size.width() * (1 - smaller) * m_ratio >= 1) {
        const QSizeF fitting = size * smaller;
        return { QPointF((width() - fitting.width()) / 2, (height() - fitting.height()) / 2), fitting };
    }
    const QPointF corner(0, (height() - size.height()) / 2);
    const QPointF inWindow = mapToScene(corner) * m_ratio;
    return { mapFromScene(QPointF(std::round(inWindow.x()), std::round(inWindow.y())) / m_ratio), size };
}

QSGNode* Picture::updatePaintNode(QSGNode* node, UpdatePaintNodeData*)
{
    auto* image = static_cast<QSGImageNode*>(node);
    if (m_image.isNull() || width() <= 0 || height() <= 0) {
        delete image;
        m_isImageNew = true;
        return nullptr;
    }
    if (!image) {
        image = window()->createImageNode();
        image->setOwnsTexture(true);
        m_isImageNew = true;
    }
    if (m_isImageNew) {
        image->setTexture(window()->createTextureFromImage(m_image, QQuickWindow::TextureHasAlphaChannel));
        m_isImageNew = false;
    }
    m_place = place();
    const bool isExact = m_place.size() == QSizeF(m_image.size()) / m_ratio;
    image->setFiltering(isExact ? QSGTexture::Nearest : QSGTexture::Linear);
    image->setRect(m_place);
    image->setSourceRect(QRectF(QPointF(), QSizeF(m_image.size())));
    return image;
}

void Picture::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange)
        adoptRatio();
    if (change == ItemSceneChange)
        follow();
    QQuickItem::itemChange(change, data);
}

/// An item is not told when one that it is in moves, and not by every Qt when a Wayland desktop changes the window's scale. Before
/// each frame it looks itself.
void Picture::follow()
{
    disconnect(m_frames);
    if (QQuickWindow* shown = window()) {
        m_frames = connect(shown, &QQuickWindow::afterAnimating, this, [this] {
            adoptRatio();
            if (!m_image.isNull() && place() != m_place)
                update();
        });
    }
}

} // namespace kestrum
