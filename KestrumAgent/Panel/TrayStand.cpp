// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/TrayStand.h"

#include "Platform/Desktop/WindowActivation.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <limits>

namespace kestrum {

TrayStand::TrayStand()
{
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this](const QScreen* gone) {
        if (m_window && m_window->screen() == gone)
            Q_EMIT dismissed();
    });
}

int TrayStand::room() const
{
    const QScreen* screen = m_window ? m_window->screen() : QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry().height() - 2 * edgeDistance : std::numeric_limits<int>::max();
}

void TrayStand::show(QWidget& window, QSize size, const QRect&)
{
    const bool isNew = m_window != &window;
    if (isNew) {
        m_window = &window;
        window.setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
        window.installEventFilter(this);
    }
    window.setFixedSize(size);
    if (!isNew)
        return;
    window.winId();
    m_screenConnection
        = connect(window.screen(), &QScreen::availableGeometryChanged, this, &TrayStand::roomChanged);
    takeKeyboard();
    window.show();
}

void TrayStand::takeKeyboard()
{
    // After a press of the status icon, the environment has the desktop's leave to take the focus.
    if (m_window)
        WindowActivation::bringForward(*m_window->windowHandle(), WindowActivation::takeToken());
}

void TrayStand::hide()
{
    disconnect(m_screenConnection);
    if (m_window) {
        m_window->removeEventFilter(this);
        m_window->hide();
    }
    m_window.clear();
    m_isPinned = false;
}

bool TrayStand::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::WindowDeactivate && !m_isPinned) {
        // Not from within the event, whose receiver is about to be deleted.
        QMetaObject::invokeMethod(this, &PopoverStand::dismissed, Qt::QueuedConnection);
    }
    return QObject::eventFilter(watched, event);
}

} // namespace kestrum
