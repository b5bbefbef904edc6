// SPDX-License-Identifier: MIT
#include "Kestrum/Window/SplitView.h"

#include "Kestrum/Form/Theme.h"

#include <QPainter>

namespace kestrum {

namespace {

class Hairline final : public QSplitterHandle {
public:
    using QSplitterHandle::QSplitterHandle;

private:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        // A handle of one point accepts the pointer on a wider strip. Only its contents rectangle is the line.
        painter.fillRect(contentsRect(), Theme::colourOn(Theme::Colour::window, Theme::Colour::separator));
    }
};

} // namespace

SplitView::SplitView(QWidget* parent)
    : QSplitter(Qt::Horizontal, parent)
{
    setHandleWidth(1);
}

QSplitterHandle* SplitView::createHandle()
{
    return new Hairline(orientation(), this);
}

} // namespace kestrum
