// SPDX-License-Identifier: MIT
#pragma once

#include <QComboBox>

namespace kestrum {

/// A picker that shows the chosen entry; all choices are in a `PickerList`. The picker is as wide as its longest title needs, so
/// nothing moves when another entry is chosen. The mouse wheel scrolls the page even over the picker.
class PopupPicker final : public QComboBox {
    Q_OBJECT
public:
    explicit PopupPicker(QWidget* parent = nullptr);

    /// Adds a choice at the end, with an optional small picture before its title.
    void addEntry(const QString& title, const QIcon& picture = {});
    /// Adds a line below the last choice. The line does not count as a choice.
    void addDivider();

    /// The position of the chosen entry among the choices, −1 for none.
    int index() const;
    /// Shows another choice without emitting `chosen`. −1 or a position that does not exist shows none.
    void setIndex(int index);

    /// The width that the picker's own titles need.
    int ownWidth() const;
    /// Makes the picker as wide as other pickers where there is enough space. A width below `ownWidth` changes nothing.
    void setSharedWidth(int width);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    void showPopup() override;
    void hidePopup() override;

Q_SIGNALS:
    /// The user chose the entry at `index`, perhaps the same as before.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    int widthOf(const QString& title) const;
    /// The width of a field whose title is `titleWidth` wide.
    int widthWith(int titleWidth) const;

    int m_sharedWidth = 0;
    int m_longestTitleWidth = 0; ///< cached: shaping texts is the most expensive part of a layout
    bool m_isOpen = false;
};

} // namespace kestrum
