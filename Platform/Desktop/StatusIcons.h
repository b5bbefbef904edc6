// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/BusReturn.h"

#include <QObject>
#include <QString>

namespace kestrum {

/// Knows whether a panel of the desktop shows status icons. A service on the session bus holds the list of the icons, and
/// the panels that show them register with this service. Main thread only.
class StatusIcons final : public QObject {
    Q_OBJECT
public:
    /// Asks whether a panel shows status icons, and follows changes. Without a bus, none does. If the bus goes, it is joined again
    /// when it is back.
    explicit StatusIcons(QObject* parent = nullptr);
    ~StatusIcons() override;

    /// Whether the question has been answered. That takes time, because the bus is joined first.
    bool isKnown() const { return m_isKnown; }
    bool areShown() const { return m_areShown; }

    /// Whether this desktop shows the icons on a black bar even if its colour scheme is light.
    static bool areOnBlack();

Q_SIGNALS:
    /// `isKnown` or `areShown` has another value now.
    void changed();
    /// The panel may give icons other widths now. Only Xfce's panel tells it.
    void widthsChanged();

private Q_SLOTS:
    void ask();
    void busLost();
    void heardPanelSetting(const QString& channel, const QString& property);

private:
    void join();
    void follow();
    void adopt(bool areShown);

    const QString m_address;
    BusReturn m_return;
    bool m_isKnown = false;
    bool m_areShown = false;
};

} // namespace kestrum
