#pragma once

#include "Kestrum/Form/FocusRing.h"
#include "tests/Support/Widgets.h"

#include <QVBoxLayout>

namespace kestrum {

/// An active window with controls in one column. It follows the colour scheme like the settings window.
struct ControlWindow : QWidget {
    static constexpr int margin = 20;

    /// A window whose controls keep their own sizes.
    explicit ControlWindow(
        std::initializer_list<QWidget*> controls, Qt::LayoutDirection direction = Qt::LeftToRight)
        : ControlWindow(direction)
    {
        for (QWidget* control : controls)
            column().insertWidget(column().count() - 1, control, 0, Qt::AlignLeading);
        resize(400, 300);
        activate(*this);
    }

    /// A window with one control that is `width` wide.
    ControlWindow(QWidget* control, int width, Qt::LayoutDirection direction = Qt::LeftToRight)
        : ControlWindow(direction)
    {
        column().insertWidget(0, control);
        setRoom(width);
        activate(*this);
        settle();
    }
    void setRoom(int width)
    {
        resize(width + 2 * margin, 400);
        settle();
    }

    static void prepareProgram()
    {
        QApplication::setStyle(QStringLiteral("fusion"));
        QApplication::setFont(Theme::font(Theme::TextStyle::body));
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    /// The visible focus ring; null when there is none.
    FocusRing* ring() const
    {
        const auto rings = findChildren<FocusRing*>();
        const auto ring
            = std::find_if(rings.begin(), rings.end(), [](auto* each) { return each->isVisible(); });
        return ring == rings.end() ? nullptr : *ring;
    }
    /// Whether a visible focus ring surrounds `control`.
    bool marks(const QWidget& control) const
    {
        const FocusRing* ring = this->ring();
        return ring
            && ring->geometry()
            == QRect(control.mapTo(ring->parentWidget(), QPoint(0, 0)), control.size()).adjusted(-3, -3, 3, 3)
            && ring->parentWidget()->rect().contains(ring->geometry());
    }

private:
    explicit ControlWindow(Qt::LayoutDirection direction)
    {
        adoptScheme();
        connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, &ControlWindow::adoptScheme);
        setLayoutDirection(direction);
        (new QVBoxLayout(this))->setContentsMargins(margin, margin, margin, margin);
        column().addStretch(1);
    }
    QVBoxLayout& column() const { return *static_cast<QVBoxLayout*>(layout()); }
    void adoptScheme()
    {
        setPalette(Theme::palette(SystemAppearance::shared().scheme()));
        update();
    }
};

} // namespace kestrum
