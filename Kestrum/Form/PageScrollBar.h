#pragma once

#include <QWidget>
#include <optional>

class QScrollArea;
class QScrollBar;

namespace kestrum {

/// The mark of where a page is scrolled to. It lies in the page's margin, so that nothing moves when it comes or goes; it is
/// there only while there is more than the page shows. A drag of it scrolls, and so does a click beside it, by a page.
class PageScrollBar final : public QWidget {
    Q_OBJECT
public:
    /// Belongs to `area`, whose own vertical bar it stands for.
    explicit PageScrollBar(QScrollArea& area);

    /// Where the part that can be dragged is, in this widget.
    QRect thumb() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();

    QScrollArea& m_area;
    QScrollBar& m_bar;
    std::optional<int> m_grabbed; ///< how far below its top the thumb is held
};

} // namespace kestrum
