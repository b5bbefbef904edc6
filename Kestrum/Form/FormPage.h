#pragma once

#include "Kestrum/Form/Card.h"

#include <QScrollArea>

namespace kestrum {

/// A page of the window: its sections in one column that scrolls, as wide as the page less its margins and
/// never wider than a card may be, centred on a wide window. Its pickers of a kind are all as wide as the widest of them.
class FormPage : public QScrollArea {
    Q_OBJECT
public:
    explicit FormPage(QWidget* parent = nullptr);

    /// The margin at each side of a page that is so wide.
    static int margin(int pageWidth);

    /// Puts `section` below the others; the page owns it.
    void add(Card* section);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void layOut();
    /// Scrolls to `control`, which the keyboard has come to, and to what is read before the first and after the last one of a section.
    void bringIntoView(const QWidget& control);
};

} // namespace kestrum
