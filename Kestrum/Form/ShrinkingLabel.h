#pragma once

#include "Kestrum/Form/Theme.h"

#include <QLabel>

namespace kestrum {

/// A text on one line, or on two where that is allowed and spares it from shrinking. Where it is too long for its room it shrinks,
/// down to 0.8 of its size, and only then loses its end, which a tool tip then tells. Its height stays that of the full size.
class ShrinkingLabel final : public QLabel {
    Q_OBJECT
public:
    ShrinkingLabel(Theme::TextStyle style, Theme::Colour colour, QWidget* parent = nullptr);

    /// Lets it stand on two lines.
    void setMayWrap(bool mayWrap);

    /// What there is room for now, and in which font.
    QString shownText() const;
    QFont shownFont() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// Whether it is too long for one line and fits on two as it is, without breaking a word.
    bool isWrapped() const;

    bool m_mayWrap = false;
    Theme::Colour m_colour;
};

} // namespace kestrum
