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

/// Shows the outcome of a requested check for updates, by a notification of the desktop and in the agent's menu. It leads
/// the user to an update: to the desktop's software centre or, where there is none, by the command to type. It installs
/// nothing.
class UpdateNotice final : public QObject {
    Q_OBJECT
public:
    explicit UpdateNotice(QObject* parent = nullptr);

    /// Shows `outcome`, a sentence in the interface language. `isOnOffer`: a newer version can be installed.
    void notify(const QString& outcome, bool isOnOffer);

    /// Adds the last outcome, if there is one, to a menu. `token` gives the desktop's token for the window that a click in
    /// the menu opens.
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
