// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

namespace kestrum {

/// Reports when a panel of the desktop shows status icons. A service on the session bus holds the list of the icons, and
/// the panels that show them register with this service. Main thread only.
class StatusIcons final : public QObject {
    Q_OBJECT
public:
    /// Asks whether a panel shows status icons, and follows changes. Without a bus nothing happens.
    explicit StatusIcons(QObject* parent = nullptr);
    ~StatusIcons() override;

    /// Whether this desktop shows the icons on a black bar even if its colour scheme is light.
    static bool areOnBlack();

Q_SIGNALS:
    /// A panel shows status icons. Also emitted when such a panel comes back.
    void shown();

private Q_SLOTS:
    void ask();

private:
    void follow();
};

} // namespace kestrum
