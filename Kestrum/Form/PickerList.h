#pragma once

#include <QListView>

class QComboBox;

namespace kestrum {

/// The list that opens from a picker: entries on a card, a tick before the one chosen, the one under the pointer or the keyboard
/// filled. The card lies over the picker's field, just as wide and with the entry chosen on the title that it stands for, as far as
/// the screen allows. Where the desktop shows what lies behind a window, the card is rounded and has a shadow. The picker's own
/// machinery fills and closes the list.
class PickerList final : public QListView {
    Q_OBJECT
public:
    explicit PickerList(const QComboBox& picker);

    /// Dresses the window that the picker has put the list in; to be called before it is first shown.
    void dressWindow();

    /// The width of the card that the widest entry needs.
    int neededWidth() const;

    /// The card, on the screen.
    QRect card() const;

protected:
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();
    void paintCard() const;

    const QComboBox& m_picker;
    bool m_isTranslucent = true;
};

} // namespace kestrum
