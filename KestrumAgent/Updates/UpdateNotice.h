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

/// Shows the outcome of a requested check for updates in a desktop notification and in the agent's menu. If there is an
/// update, offers to open the desktop's software centre or, if there is none, shows the command to type. Installs nothing.
class UpdateNotice final : public QObject {
    Q_OBJECT
public:
    explicit UpdateNotice(QObject* parent = nullptr);

    /// Shows `outcome`, a sentence in the interface language. `isOnOffer` is true if a newer version can be installed.
    void notify(const QString& outcome, bool isOnOffer);

    /// Adds the last outcome, if there is one, to `menu`. When the user clicks the entry for the software centre, `token` is
    /// called to get the desktop's activation token for the new window.
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
