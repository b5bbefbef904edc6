#pragma once

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/Theme.h"

#include <QApplication>
#include <QTest>
#include <QVBoxLayout>
#include <QWidget>

namespace kestrum {

/// An active window with controls one below the other, each at its own size. It follows the colour scheme like the settings
/// window.
struct ControlWindow : QWidget {
    static constexpr int margin = 20;

    explicit ControlWindow(
        std::initializer_list<QWidget*> controls, Qt::LayoutDirection direction = Qt::LeftToRight)
    {
        adoptScheme();
        connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, &ControlWindow::adoptScheme);
        setLayoutDirection(direction);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(margin, margin, margin, margin);
        for (QWidget* control : controls)
            layout->addWidget(control, 0, Qt::AlignLeading);
        layout->addStretch(1);
        resize(400, 300);
        show();
        activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(this));
    }

    /// Prepares the program for its windows.
    static void prepareProgram()
    {
        QApplication::setStyle(QStringLiteral("fusion"));
        QApplication::setFont(Theme::font(Theme::TextStyle::body));
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    /// The visible focus ring; null when there is none.
    FocusRing* ring() const
    {
        for (auto* ring : findChildren<FocusRing*>()) {
            if (ring->isVisible())
                return ring;
        }
        return nullptr;
    }
    /// The expected rectangle of the focus ring around `control`, in the coordinates of the ring's parent.
    static QRect around(const QWidget& control, const FocusRing& ring)
    {
        return QRect(control.mapTo(ring.parentWidget(), QPoint(0, 0)), control.size()).adjusted(-3, -3, 3, 3);
    }

private:
    void adoptScheme()
    {
        setPalette(Theme::palette(SystemAppearance::shared().scheme()));
        update();
    }
};

} // namespace kestrum
