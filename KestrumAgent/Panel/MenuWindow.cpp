// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/MenuWindow.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "Platform/Desktop/Translucency.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPointer>

namespace kestrum {

MenuWindow::MenuWindow(PanelStrip& strip, QMenu& menu)
    : m_menu(menu)
    , m_strip(strip)
    , m_stand(strip)
{
    connect(&m_stand, &PopoverStand::dismissed, this, &MenuWindow::close);
    connect(&m_strip, &PanelStrip::itemClicked, this, &MenuWindow::close);
    m_strip.installEventFilter(this);
}

MenuWindow::~MenuWindow()
{
    close();
}

void MenuWindow::open(int x)
{
    close();
    // The entries are made on this signal, and the size is known only with them.
    Q_EMIT m_menu.aboutToShow();
    m_window = std::make_unique<QWidget>();
    m_window->setAttribute(Qt::WA_TranslucentBackground, isTranslucencyShown());
    m_window->setWindowTitle(QGuiApplication::applicationDisplayName());
    // Another menu with the same entries: ours belongs to the agent, and would become a part of the window.
    auto* const shown = new QMenu(m_window.get());
    shown->setWindowFlags(Qt::Widget);
    shown->addActions(m_menu.actions());
    // A menu also hides with its window, and by then another one may be open.
    connect(
        shown, &QMenu::aboutToHide, this,
        [this, window = QPointer(m_window.get())] {
            if (window && window == m_window.get())
                close();
        },
        Qt::QueuedConnection);
    const QSize size = shown->sizeHint();
    shown->setGeometry(QRect(QPoint(0, 0), size));
    shown->show();
    // The menu opens in the reading direction.
    const int left = shown->isRightToLeft() ? x - size.width() + 1 : x;
    m_stand.show(*m_window, size, QRect(left, 0, size.width(), m_strip.height()));
    shown->setFocus(Qt::PopupFocusReason);
}

/// A press on an item may become a drag, which is no click.
bool MenuWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress)
        close();
    return QObject::eventFilter(watched, event);
}

void MenuWindow::close()
{
    m_stand.hide();
    // The call may come from one of the window's own events.
    if (m_window)
        m_window.release()->deleteLater();
}

} // namespace kestrum
