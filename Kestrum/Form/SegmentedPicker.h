// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QButtonGroup;

namespace kestrum {

/// A few choices side by side; one or none of them is chosen. For assistive programs the picker is a group of radio buttons.
/// Arrow keys choose another segment, and Tab moves the focus to the chosen segment. If the segments do not fit in one row, they
/// take several rows.
class SegmentedPicker final : public QWidget {
    Q_OBJECT
public:
    explicit SegmentedPicker(QWidget* parent = nullptr);

    /// Adds a choice at the trailing end. `title` is shown unchanged.
    void addSegment(const QString& title);

    /// The position of the chosen segment, −1 for none.
    int index() const;
    /// Shows another choice without emitting `chosen`. −1 or a position that does not exist shows none.
    void setIndex(int index);

    /// The width that the picker's own texts need.
    int ownWidth() const;
    /// Makes the picker as wide as other pickers where there is enough space. A width below `ownWidth` changes nothing.
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
    /// The rectangles of the segments in a picker that is `width` wide, for left-to-right text.
    QList<QRect> layoutFor(int width) const;
    void layOut();
    /// Lets Tab reach one segment only.
    void placeTabStop();
    /// Chooses the segment after or before `from` in reading order and moves the focus there.
    void step(Segment* from, int direction);

    QButtonGroup* m_group;
    int m_sharedWidth = 0;
};

} // namespace kestrum
