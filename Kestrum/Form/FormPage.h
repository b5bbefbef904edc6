#pragma once

#include "Kestrum/Form/Card.h"

#include <QScrollArea>

namespace kestrum {

/// A page of the window: its sections in one column that scrolls, as wide as the page less its margins and
/// never wider than a card may be, centred on a wide window.
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
};

} // namespace kestrum
