#pragma once

#include <QComboBox>

namespace kestrum {

/// The choice made, and all choices in a list that opens over it, the one made with a tick. As wide as its longest title, so
/// that nothing moves when another is chosen, or as the pickers that it shares a width with. Turning the wheel over it scrolls the
/// page.
class PopupPicker final : public QComboBox {
    Q_OBJECT
public:
    explicit PopupPicker(QWidget* parent = nullptr);

    /// Puts a choice at the end, with a small picture before its title where there is one.
    void addEntry(const QString& title, const QIcon& picture = {});
    /// A line below the choices so far; not a choice and not counted as one.
    void addDivider();

    /// The position of the choice made among the choices, −1 for none.
    int index() const;
    /// Shows another choice without telling; −1 or a position that does not exist shows none.
    void setIndex(int index);

    /// What its own titles need.
    int ownWidth() const;
    /// Makes it as wide as others where there is the room; a width below its own changes nothing.
    void setSharedWidth(int width);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    void showPopup() override;
    void hidePopup() override;

Q_SIGNALS:
    /// The user chose the entry at `index`; also told for the one that is chosen already.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    int widthOf(const QString& title) const;
    /// Of the field with a title as wide as `titleWidth`.
    int widthWith(int titleWidth) const;

    int m_sharedWidth = 0;
    int m_longestTitleWidth = 0; ///< kept, as shaping texts is what layouts spend most on
    bool m_isOpen = false;
};

} // namespace kestrum
