#pragma once

#include <QListView>

class QComboBox;

namespace kestrum {

/// The list that opens from a picker: entries on a card, a tick before the one chosen, the one under the pointer or the keyboard
/// filled. The card is rounded where the desktop shows what lies behind its corners. The picker's own machinery fills and closes
/// the list.
class PickerList final : public QListView {
    Q_OBJECT
public:
    explicit PickerList(const QComboBox& picker);

    /// Dresses the window that the picker has put the list in; to be called before it is first shown.
    void dressWindow();

    /// The width of the window that the widest entry needs.
    int neededWidth() const;

protected:
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    const QComboBox& m_picker;
    bool m_isRounded = true;
};

} // namespace kestrum
