// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <optional>

class QDBusVariant;

namespace kestrum {

/// The desktop's colours and motion from the portal ("org.freedesktop.portal.Settings"). Nothing here waits for another
/// process on the main thread: the bus is joined on a worker, and the portal, which may never answer, is asked without
/// waiting. Main thread only.
class AppearancePortal : public QObject {
    Q_OBJECT
public:
    explicit AppearancePortal(QObject* parent = nullptr);

    /// Joins the bus at `address`, asks, and follows changes. Does nothing when `address` is empty.
    void start(const QString& address);

    /// Nothing until the desktop has answered, and when it has no preference.
    std::optional<ColourScheme> scheme() const { return m_scheme; }
    std::optional<QColor> accent() const { return m_accent; }
    /// Whether the desktop asks for less motion, by the portal's key or by its own.
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
    std::optional<bool> m_animates; ///< GNOME's own key, older than the portal's
};

} // namespace kestrum
