#pragma once

#include <QAccessible>
#include <QList>
#include <private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>
#include <utility>

namespace kestrum {

/// Records the events for assistive programs while this object exists. The toolkit then behaves as if an assistive program were
/// running. Only one object may exist at a time.
class HeardEvents {
public:
    struct Event {
        QAccessible::Event type;
        const QObject* object;
        QAccessible::State changed; ///< in events about a change of state: the states that changed
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

    /// All events since the last call, in order.
    static QList<Event> taken() { return std::exchange(heard, {}); }
    /// The events of one type since the last call, in order. The others are forgotten.
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
