#pragma once

#include <QWidget>

class QButtonGroup;

namespace kestrum {

/// A few choices side by side, one of them chosen or none. To assistive programs it is a group of radio buttons; the arrow keys
/// choose, and the keyboard enters at the one chosen. As wide as its texts; where that is more than there is, it stands in rows.
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

Q_SIGNALS:
    /// The user chose the segment at `index`; not told for the one that is chosen already.
    void chosen(int index);

private:
    QButtonGroup* m_group;
};

} // namespace kestrum
