#pragma once

#include <QObject>

namespace kestrum {

/// The desktop's status icons, by the session bus: a service there keeps a list of them, and panels that show them put
/// themselves down in it. Main thread only.
class StatusIcons final : public QObject {
    Q_OBJECT
public:
    /// Asks, and listens for what comes later. Where there is no bus, nothing comes.
    explicit StatusIcons(QObject* parent = nullptr);
    ~StatusIcons() override;

    /// Whether the bar that shows them is black on this desktop, whatever colour scheme its windows have.
    static bool areOnBlack();

Q_SIGNALS:
    /// There is somebody who shows them; also told when they come back.
    void shown();

private Q_SLOTS:
    void ask();

private:
    void follow();
};

} // namespace kestrum
