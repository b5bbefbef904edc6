// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/DesktopNotification.h"
#include "Platform/Desktop/SoftwareCentre.h"

#include <QByteArray>
#include <QMenu>
#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// Tells whoever asked for a check for updates how it ended, by a notification of the desktop's and in the agent's menu, and brings
/// them to an update: to the desktop's software centre or, where there is none, by the command to type. Nothing is installed by us.
class UpdateNotice final : public QObject {
    Q_OBJECT
public:
    explicit UpdateNotice(QObject* parent = nullptr);

    /// `outcome` is a sentence in the interface language. `isOnOffer`: a newer version can be installed.
    void tell(const QString& outcome, bool isOnOffer);

    /// Adds what was told last to a menu; nothing when nothing was. `token` gives what the desktop lets a click in the menu open
    /// a window by.
    void addTo(QMenu& menu, const std::function<QByteArray()>& token);

private:
    void show();
    static QString advice();

    DesktopNotification m_notification;
    SoftwareCentre m_centre;
    QString m_outcome;
    bool m_isOnOffer = false;
};

} // namespace kestrum
