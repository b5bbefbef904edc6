// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/Card.h"

#include <QScrollArea>

namespace kestrum {

/// A page of the window: its sections in one column that scrolls. In a wide window the column is centred, with the largest width
/// of a card. All pickers of one kind are as wide as the widest of them.
class FormPage : public QScrollArea {
    Q_OBJECT
public:
    explicit FormPage(QWidget* parent = nullptr);

    /// The margin at each side of a page that is `pageWidth` wide.
    static int margin(int pageWidth);

    /// Adds `section` below the others; the page owns it.
    void add(Card* section);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void layOut();
    /// Scrolls `control` into view. The first control of a section brings the section's top into view too, the last control the
    /// section's bottom.
    void bringIntoView(const QWidget& control);
};

} // namespace kestrum
