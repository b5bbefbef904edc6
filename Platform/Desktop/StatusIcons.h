// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

namespace kestrum {

/// The desktop's status icons. A service on the session bus holds the list of the icons, and the panels that show the
/// icons register with this service. Main thread only.
class StatusIcons final : public QObject {
    Q_OBJECT
public:
    /// Asks whether a panel shows status icons, and follows changes. Without a bus nothing happens.
    explicit StatusIcons(QObject* parent = nullptr);
    ~StatusIcons() override;

    /// Whether this desktop's bar with the icons is black even when the colour scheme of the windows is light.
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
