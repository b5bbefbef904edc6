#pragma once

#include <QWidget>

class QButtonGroup;

namespace kestrum {

/// A few choices side by side, one of them chosen or none. To assistive programs it is a group of radio buttons; the arrow keys
/// choose, and the keyboard enters at the one chosen. As wide as its texts, or as the pickers that it shares a width with; where its
/// texts are wider than there is room, it stands in rows.
class SegmentedPicker final : public QWidget {
    Q_OBJECT
public:
    explicit SegmentedPicker(QWidget* parent = nullptr);

    /// Puts a choice at the trailing end; `title` is what people see.
    void addSegment(const QString& title);

    /// The position of the one chosen, −1 for none.
    int index() const;
    /// Shows another choice without telling; −1 or a position that does not exist shows none.
    void setIndex(int index);

    /// What its own texts need.
    int ownWidth() const;
    /// Makes it as wide as others where there is the room; a width below its own changes nothing.
    void setSharedWidth(int width);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

Q_SIGNALS:
    /// The user chose the segment at `index`; not told for the one that is chosen already.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    class Segment;

    Segment* segment(int index) const;
    /// Where the segments stand in a picker of that width, written from the left.
    QList<QRect> places(int width) const;
    void layOut();
    /// Lets the keyboard come to one segment only.
    void placeTabStop();
    /// Chooses the neighbour in reading order and takes the keyboard there.
    void step(Segment* from, int direction);

    QButtonGroup* m_group;
    int m_sharedWidth = 0;
};

} // namespace kestrum
