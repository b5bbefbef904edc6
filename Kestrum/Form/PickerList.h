// SPDX-License-Identifier: MIT
#pragma once

#include <QListView>

class QComboBox;

namespace kestrum {

/// The open list of a picker: entries on a card, with a tick before the chosen entry. The card is at least as wide as the
/// picker's field and covers the field. If the screen allows it, the chosen entry lies exactly on the field's title. If the
/// desktop supports translucent windows, the card is rounded and has a shadow. QComboBox fills and closes the list.
class PickerList final : public QListView {
    Q_OBJECT
public:
    explicit PickerList(const QComboBox& picker);

    /// Sets up the window into which QComboBox has put the list. Call this before the window is first shown.
    void dressWindow();

    /// The card's rectangle in screen coordinates.
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
