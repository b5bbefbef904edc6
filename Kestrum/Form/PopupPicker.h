// SPDX-License-Identifier: MIT
#pragma once

#include <QComboBox>

namespace kestrum {

/// Shows the chosen entry; all choices are in a list that opens over it, with a tick before the chosen one. It is as wide as its
/// longest title, so that nothing moves when another is chosen, or as the pickers that share a width with it. The mouse wheel over
/// it scrolls the page.
class PopupPicker final : public QComboBox {
    Q_OBJECT
public:
    explicit PopupPicker(QWidget* parent = nullptr);

    /// Adds a choice at the end, with an optional small picture before its title.
    void addEntry(const QString& title, const QIcon& picture = {});
    /// Adds a line below the choices so far. It does not count as a choice.
    void addDivider();

    /// The position of the chosen entry among the choices, −1 for none.
    int index() const;
    /// Shows another choice without emitting `chosen`. −1 or a position that does not exist shows none.
    void setIndex(int index);

    /// The width that its own titles need.
    int ownWidth() const;
    /// Makes it as wide as other pickers where there is enough space. A width below its own changes nothing.
    void setSharedWidth(int width);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    void showPopup() override;
    void hidePopup() override;

Q_SIGNALS:
    /// The user chose the entry at `index`, which may be chosen already.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    int widthOf(const QString& title) const;
    /// The width of the field with a title of that width.
    int widthWith(int titleWidth) const;

    int m_sharedWidth = 0;
    int m_longestTitleWidth = 0; ///< cached: shaping texts is the most expensive part of a layout
    bool m_isOpen = false;
};

} // namespace kestrum
