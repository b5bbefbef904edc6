#pragma once

#include <QAccessible>
#include <QList>
#include <private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

namespace kestrum {

/// Records the events for assistive programs as long as it lives: the toolkit behaves as if one were running. One object at a
/// time.
class HeardEvents {
public:
    struct Event {
        QAccessible::Event type;
        const QObject* object;
        QAccessible::State changed; ///< for changes of state
    };

    HeardEvents()
        : m_before(QAccessible::installUpdateHandler(hear))
    {
        heard.clear();
        setActive(true);
    }
    ~HeardEvents()
    {
        setActive(false);
        QAccessible::installUpdateHandler(m_before);
    }
    Q_DISABLE_COPY_MOVE(HeardEvents)

    /// The events of that type since the last call, in order.
    static QList<Event> taken(QAccessible::Event type)
    {
        QList<Event> events;
        for (const Event& event : heard) {
            if (event.type == type)
                events.append(event);
        }
        heard.clear();
        return events;
    }

private:
    static void setActive(bool isActive)
    {
        QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(isActive);
    }
    static void hear(QAccessibleEvent* event)
    {
        Event told { event->type(), event->object(), {} };
        if (event->type() == QAccessible::StateChanged)
            told.changed = static_cast<QAccessibleStateChangeEvent*>(event)->changedStates();
        heard.append(told);
    }

    inline static QList<Event> heard;
    QAccessible::UpdateHandler m_before;
};

} // namespace kestrum
