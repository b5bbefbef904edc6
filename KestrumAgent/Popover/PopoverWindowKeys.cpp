// SPDX-License-Identifier: MIT
// The keyboard in a popover's window.

#include "KestrumAgent/Popover/PopoverAccessible.h"
#include "KestrumAgent/Popover/PopoverWindow.h"

#include <QKeyEvent>
#include <algorithm>

namespace kestrum {

void PopoverWindow::setFocusOn(const Path& path)
{
    if (!m_layout.stops().contains(path))
        return;
    m_focus.set(path, true);
    showFocus();
}

/// Scrolls the focused element into view.
void PopoverWindow::showFocus()
{
    const PanelElement* focused = m_layout.element(m_focus.path());
    if (focused && !m_layout.isInHeader(m_focus.path())) {
        const double room = contentsRect().height() / m_scale;
        const double margin = 4;
        scrollTo(std::clamp(m_scrolled, focused->rect.bottom() + margin - room,
            std::max(focused->rect.top() - margin - m_layout.headerHeight(),
                focused->rect.bottom() + margin - room)));
    }
    holdList();
    update();
    m_isFocusInside = m_focus.isShown();
    if (m_isFocusInside)
        PopoverAccessible::tellFocus(*this);
}

void PopoverWindow::keyPressEvent(QKeyEvent* event)
{
    // A key that is held goes on moving, but acts only once.
    event->setAccepted(moveBy(*event) || event->isAutoRepeat() || act(*event));
}

/// Handles the keys that move within the popover and to its neighbours.
bool PopoverWindow::moveBy(const QKeyEvent& event)
{
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (modifiers & ~Qt::KeyboardModifiers(Qt::ShiftModifier))
        return false;
    const double page = contentsRect().height() / m_scale - m_layout.headerHeight();
    switch (event.key()) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        m_focus.step(m_layout, event.key() == Qt::Key_Tab);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        m_focus.stepRow(m_layout, event.key() == Qt::Key_Down);
        break;
    case Qt::Key_Home:
        m_focus.toFirstRow(m_layout);
        break;
    case Qt::Key_End:
        m_focus.toLastRow(m_layout);
        break;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        scrollTo(m_scrolled + (event.key() == Qt::Key_PageDown ? page : -page));
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
        Q_EMIT neighbourRequested(event.key() == Qt::Key_Right ? 1 : -1);
        return true;
    default:
        return false;
    }
    showFocus();
    return true;
}

/// Handles the keys that do something, but for those that are shortcuts.
bool PopoverWindow::act(const QKeyEvent& event)
{
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const bool isEnter = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
    if (event.key() == Qt::Key_Escape)
        Q_EMIT closeRequested();
    else if (event.matches(QKeySequence::Copy))
        copy();
    else if (isEnter && modifiers == Qt::ControlModifier)
        Q_EMIT acted({ PanelAction::Kind::openSystemMonitor });
    else if (event.key() == Qt::Key_Menu || (event.key() == Qt::Key_F10 && modifiers == Qt::ShiftModifier))
        Q_EMIT menuRequested();
    else if (modifiers == Qt::NoModifier && (isEnter || event.key() == Qt::Key_Space))
        press(m_focus.shownPath());
    else
        return false;
    return true;
}

/// Copies the focused row, or without a focus the whole popover.
void PopoverWindow::copy()
{
    const PanelElement* focused = m_layout.element(m_focus.shownPath());
    QString text = focused ? PopoverLayout::text(*focused) : QString();
    if (text.isEmpty())
        text = m_layout.text();
    Q_EMIT copied(text.endsWith(u'\n') && text.count(u'\n') == 1 ? text.chopped(1) : text);
}

} // namespace kestrum
