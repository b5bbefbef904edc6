// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QButtonGroup;

namespace kestrum {

/// A few choices side by side, one of them chosen or none. For assistive programs it is a group of radio buttons. Arrow keys choose,
/// and Tab enters at the chosen one. It is as wide as its texts, or as the pickers that share a width with it. Where its texts are
/// too wide, the segments are in several rows.
class SegmentedPicker final : public QWidget {
    Q_OBJECT
public:
    explicit SegmentedPicker(QWidget* parent = nullptr);

    /// Adds a choice at the trailing end; `title` as it is shown.
    void addSegment(const QString& title);

    /// The position of the chosen segment, −1 for none.
    int index() const;
    /// Shows another choice without emitting `chosen`. −1 or a position that does not exist shows none.
    void setIndex(int index);

    /// The width that its own texts need.
    int ownWidth() const;
    /// Makes it as wide as other pickers where there is enough space. A width below its own changes nothing.
    void setSharedWidth(int width);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

Q_SIGNALS:
    /// The user chose another segment, the one at `index`.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    class Segment;

    Segment* segment(int index) const;
    /// The segments in a picker of that width, as if texts were written from the left.
    QList<QRect> layoutFor(int width) const;
    void layOut();
    /// Lets Tab reach one segment only.
    void placeTabStop();
    /// Chooses the neighbour in reading order and moves the focus there.
    void step(Segment* from, int direction);

    QButtonGroup* m_group;
    int m_sharedWidth = 0;
};

} // namespace kestrum
