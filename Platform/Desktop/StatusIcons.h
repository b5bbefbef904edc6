// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

namespace kestrum {

/// The desktop's status icons: a service on the session bus keeps a list of them, in which the panels that show them
/// register. Main thread only.
class StatusIcons final : public QObject {
    Q_OBJECT
public:
    /// Asks, and follows changes. Without a bus nothing happens.
    explicit StatusIcons(QObject* parent = nullptr);
    ~StatusIcons() override;

    /// Whether the bar with the icons is black on this desktop, whatever the colour scheme of its windows.
    static bool areOnBlack();

Q_SIGNALS:
    /// A panel shows status icons; also emitted when it comes back.
    void shown();

private Q_SLOTS:
    void ask();

private:
    void follow();
};

} // namespace kestrum
