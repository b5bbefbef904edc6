// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/BusReturn.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <optional>

class QDBusVariant;

namespace kestrum {

/// Reads the desktop's colours and its preference for less motion from the portal ("org.freedesktop.portal.Settings").
/// The main thread never waits for another process: a worker thread joins the bus, and calls to the portal are
/// asynchronous, because the portal may never answer. Main thread only.
class AppearancePortal : public QObject {
    Q_OBJECT
public:
    explicit AppearancePortal(QObject* parent = nullptr);

    /// Joins the bus at `address`, asks for the settings and follows their changes. Does nothing when `address` is empty. A joined
    /// bus that goes is joined again when it is back; until then all is as it was told last.
    void start(const QString& address);

    /// `scheme` and `accent` return nothing until the portal answers, and if the desktop has no preference.
    std::optional<ColourScheme> scheme() const { return m_scheme; }
    std::optional<QColor> accent() const { return m_accent; }
    /// Whether the desktop asks for less motion. The portal's setting has precedence over GNOME's own setting.
    bool reducesMotion() const { return m_reducesMotion.value_or(!m_animates.value_or(true)); }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);
    void busLost();

private:
    void join();
    void follow();
    void ask(QLatin1StringView group, QLatin1StringView key);
    void adopt(const QString& key, const QVariant& value);

    QString m_address;
    BusReturn m_return;
    bool m_wasJoined = false;
    std::optional<ColourScheme> m_scheme;
    std::optional<QColor> m_accent;
    std::optional<bool> m_reducesMotion;
    std::optional<bool> m_animates; ///< GNOME's own setting, which is older than the portal's
};

} // namespace kestrum
