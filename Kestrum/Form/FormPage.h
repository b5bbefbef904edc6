// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/Card.h"

#include <QScrollArea>

namespace kestrum {

/// A page of the window: its sections in one column that scrolls. The column is as wide as the page without its margins, at most
/// as wide as a card may be, and centred in a wide window. Pickers of a kind are as wide as the widest of them.
class FormPage : public QScrollArea {
    Q_OBJECT
public:
    explicit FormPage(QWidget* parent = nullptr);

    /// The margin at each side of a page of that width.
    static int margin(int pageWidth);

    /// Puts `section` below the others; the page owns it.
    void add(Card* section);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void layOut();
    /// Scrolls to `control`. The first control of a section brings the section's top into view too, the last one its end.
    void bringIntoView(const QWidget& control);
};

} // namespace kestrum
