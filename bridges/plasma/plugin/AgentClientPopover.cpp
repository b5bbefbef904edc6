// SPDX-License-Identifier: MIT
// What the client does for the popover.

#include "AgentClient.h"

#include <QClipboard>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QKeySequence>
#include <utility>

namespace kestrum {

void AgentClient::openPopover(const QString& item)
{
    if (!isAttached() || item.isEmpty())
        return;
    if (m_openItem != item) {
        m_openItem = item;
        Q_EMIT popoverChanged();
    }
    QVariantMap popoverLook = look();
    popoverLook.insert(QStringLiteral("scale"), m_popoverScale);
    popoverLook.insert(QStringLiteral("room"), uint(m_popoverRoom));
    callForPopover(QStringLiteral("OpenPopover"), { m_bridge, item, popoverLook });
}

void AgentClient::closePopover()
{
    if (m_openItem.isEmpty())
        return;
    m_openItem.clear();
    m_nextMove.reset();
    Q_EMIT popoverChanged();
    callForPopover(QStringLiteral("ClosePopover"), { m_bridge });
}

/// The agent answers in the order of the calls, and what it tells of the popover before an answer is older than the call. So
/// the last answer settles what is open.
void AgentClient::callForPopover(const QString& method, const QVariantList& arguments)
{
    ++m_popoverCalls;
    call(method, arguments, [this](const QDBusMessage& answer) {
        // What the user wanted long ago must not come up by itself.
        if (answer.type() == QDBusMessage::ErrorMessage)
            closePopover();
        popoverAnswered();
    });
}

void AgentClient::popoverAnswered()
{
    if (--m_popoverCalls > 0)
        return;
    // Either it was to be closed, or there was nothing to open.
    if (m_openItem.isEmpty() || m_popoverPicture.isNull())
        forgetPopover();
}

void AgentClient::forgetPopover()
{
    const bool wasKnown = !m_openItem.isEmpty();
    m_openItem.clear();
    m_popoverPicture = {};
    m_popoverItem.clear();
    m_popoverText.clear();
    m_popoverFocus.clear();
    m_nextMove.reset();
    if (wasKnown)
        Q_EMIT popoverChanged();
}

void AgentClient::takePopover(const QDBusMessage& message)
{
    if (!isMine(message))
        return;
    const auto told = PanelMessages::popover(message);
    if (!told || !PanelMessages::apply(*told, m_popoverPicture)) {
        complain(QStringLiteral("Popover"), QStringLiteral("the message makes no sense"));
        return;
    }
    m_popoverItem = told->item;
    m_popoverText = told->text;
    m_popoverFocus = told->focus;
    if (m_openItem.isEmpty())
        return;
    // The popover can turn to another item by itself.
    if (m_popoverCalls == 0)
        m_openItem = told->item;
    Q_EMIT popoverChanged();
}

void AgentClient::takeRequest(const QDBusMessage& message)
{
    if (isMine(message))
        openPopover(message.arguments().value(1).toString());
}

void AgentClient::takeClosed(const QDBusMessage& message)
{
    if (!isMine(message))
        return;
    if (m_popoverCalls == 0)
        forgetPopover();
    else
        m_popoverPicture = {}; // of what is open now the agent sends all
}

void AgentClient::takeChoice(const QDBusMessage& message)
{
    if (isMine(message))
        Q_EMIT choiceRequested(message.arguments().value(1).toString());
}

void AgentClient::takeCopied(const QDBusMessage& message)
{
    if (isMine(message))
        QGuiApplication::clipboard()->setText(message.arguments().value(1).toString());
}

void AgentClient::point(const QString& kind, const QPointF& at, double notches)
{
    if (m_openItem.isEmpty())
        return;
    const QVariantList arguments { m_bridge, kind, at.x(), at.y(), notches };
    if (kind != QLatin1String("move")) {
        m_nextMove.reset();
        call(QStringLiteral("Pointer"), arguments);
        return;
    }
    if (m_isMoveSent) {
        m_nextMove = at;
        return;
    }
    m_isMoveSent = true;
    call(QStringLiteral("Pointer"), arguments, [this](const QDBusMessage&) {
        m_isMoveSent = false;
        if (const auto next = std::exchange(m_nextMove, std::nullopt))
            point(QStringLiteral("move"), *next);
    });
}

bool AgentClient::pressKey(int key, int modifiers)
{
    switch (key) {
    case 0:
    case Qt::Key_unknown:
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return false;
    default:
        break;
    }
    if (m_openItem.isEmpty())
        return false;
    // "Shift+Tab" is the interface's word; the toolkit has a key of its own for it.
    if (key == Qt::Key_Backtab) {
        key = Qt::Key_Tab;
        modifiers |= int(Qt::ShiftModifier);
    }
    modifiers
        &= int(Qt::ShiftModifier) | int(Qt::ControlModifier) | int(Qt::AltModifier) | int(Qt::MetaModifier);
    const QString name = QKeySequence(key | modifiers).toString(QKeySequence::PortableText);
    call(QStringLiteral("Key"), { m_bridge, name });
    return true;
}

} // namespace kestrum
