// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/WrappedLabel.h"

namespace kestrum {

/// A row of a card: a text at the leading edge and, at the trailing edge, an optional control that the text names. A long text
/// wraps beside the control. If the row is too narrow for both, the control is below the text.
class Row : public QWidget {
    Q_OBJECT
public:
    /// The row owns `control`. The accessible name of the control becomes `text`, unless the control has a name or is a button
    /// with a text.
    explicit Row(const QString& text, QWidget* control = nullptr, QWidget* parent = nullptr);

    enum class Ink { text, secondary, error };

    /// Adds a second control after the first; the row owns it. The second control may be hidden: its space stays reserved, so
    /// the row's height never changes.
    void setCompanion(QWidget* companion);

    void setText(const QString& text);
    void setInk(Ink ink);
    QString text() const { return m_label->text(); }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent* event) override;
    /// The control that was passed to the constructor, null if none. The row owns it.
    QWidget* control() const { return m_control; }

private:
    struct Layout;
    /// The width reserved for the second control.
    int companionRoom() const;
    /// The layout of a row that is `width` wide, for left-to-right text.
    Layout layoutFor(int width) const;
    void layOut();

    WrappedLabel* m_label;
    QWidget* m_control;
    QWidget* m_companion = nullptr;
};

} // namespace kestrum
