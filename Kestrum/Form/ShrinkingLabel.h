// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/Theme.h"

#include <QLabel>

namespace kestrum {

/// A text on one line, or on two lines if `setMayWrap` allows them and the text then need not shrink. A text that is too long
/// shrinks, down to 0.8 of its size. If 0.8 is not small enough, the text is elided at its end and a tool tip shows the whole
/// text. The label always has the height of the full text size.
class ShrinkingLabel final : public QLabel {
    Q_OBJECT
public:
    ShrinkingLabel(Theme::TextStyle style, Theme::Colour colour, QWidget* parent = nullptr);

    /// Allows two lines.
    void setMayWrap(bool mayWrap);

    /// The text and the font that are shown now; the text may be elided.
    QString shownText() const;
    QFont shownFont() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// Whether the text is too long for one line but fits on two at full size, without breaking a word.
    bool isWrapped() const;

    bool m_mayWrap = false;
    Theme::Colour m_colour;
};

} // namespace kestrum
