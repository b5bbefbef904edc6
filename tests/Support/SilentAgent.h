#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>

namespace kestrum {

/// An agent that only answers; what else it says, a test says for it.
class SilentAgent final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvale.kestrum.Panel1")
public:
    QString client;
    std::function<void()> attaching = [] {}; ///< before the answer
    std::function<void()> looking = [] {};   ///< at a new look

public Q_SLOTS:
    uint Attach(const QString&, const QVariantMap&, const QDBusMessage& message)
    {
        client = message.service();
        attaching();
        return 7;
    }
    void Look(uint, const QVariantMap&) { looking(); }
    void OpenPopover(uint, const QString&, const QVariantMap&) { }
    void ClosePopover(uint) { }
    void Detach(uint) { }
};

} // namespace kestrum
