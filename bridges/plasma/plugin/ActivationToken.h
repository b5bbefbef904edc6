// SPDX-License-Identifier: MIT
#pragma once

#include <QJSValue>
#include <QObject>

class QQuickItem;

namespace kestrum {

/// The desktop's leave to open a window in front of the user's work, for the agent, which opens it.
class ActivationToken : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    /// Calls `given` with a token for what the user has just done in the item's window; with an empty one where the desktop has
    /// none or does not answer soon. A request takes the place of an earlier one.
    Q_INVOKABLE void request(QQuickItem* item, const QJSValue& given);

private:
    void give(const QString& token);

    QJSValue m_given;
    int m_request = 0;
};

} // namespace kestrum
