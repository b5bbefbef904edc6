// SPDX-License-Identifier: MIT
#pragma once

#include <QListView>

class QComboBox;

namespace kestrum {

/// The list that opens from a picker: entries on a card, a tick before the chosen one, the one under the pointer or at the keyboard
/// filled. The card is as wide as the picker's field and lies over it, with the chosen entry exactly on the field's title, as far as
/// the screen allows. If the desktop supports translucent windows, the card is rounded and has a shadow. QComboBox fills and
/// closes the list.
class PickerList final : public QListView {
    Q_OBJECT
public:
    explicit PickerList(const QComboBox& picker);

    /// Sets up the window that QComboBox has put the list in. To be called before it is first shown.
    void dressWindow();

    /// The width of a card that fits the widest entry.
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
