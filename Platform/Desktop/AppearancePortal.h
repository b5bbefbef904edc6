#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <optional>

class QDBusVariant;

namespace kestrum {

/// What the desktop portal ("org.freedesktop.portal.Settings") tells of the desktop's colours and motion. Nothing here waits for
/// another process on the main thread: the bus is joined on a worker, the portal is asked without waiting, and may stay
/// silent for ever. Main thread only.
class AppearancePortal : public QObject {
    Q_OBJECT
public:
    explicit AppearancePortal(QObject* parent = nullptr);

    /// Joins the bus at `address`, asks, and follows what changes. Does nothing when it is empty.
    void start(const QString& address);

    /// Nothing while the desktop has told none, or tells that it has no preference.
    std::optional<ColourScheme> scheme() const { return m_scheme; }
    std::optional<QColor> accent() const { return m_accent; }
    /// Whether the desktop asks for less motion; it may tell so in a way of its own.
    bool reducesMotion() const { return m_reducesMotion.value_or(!m_animates.value_or(true)); }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void follow();
    void ask(const char16_t* group, const char16_t* key);
    void adopt(const QString& key, const QVariant& value);

    std::optional<ColourScheme> m_scheme;
    std::optional<QColor> m_accent;
    std::optional<bool> m_reducesMotion;
    std::optional<bool> m_animates; ///< GNOME's own, from before there was one for all desktops
};

} // namespace kestrum
