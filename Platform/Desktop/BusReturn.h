// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>
#include <memory>

namespace kestrum {

class DirectoryWatch;

/// Waits for a session bus that is gone or was never there, and says when it is worth joining it: soon after its socket appears,
/// and from time to time, less and less often. Main thread only.
class BusReturn final : public QObject {
    Q_OBJECT
public:
    explicit BusReturn(QObject* parent = nullptr);
    ~BusReturn() override;

    /// Begins to wait, or waits again because joining has failed.
    void wait();
    /// The bus has been joined.
    void stop();

Q_SIGNALS:
    /// The bus may be there. Tells no more until `wait` is called again.
    void expected();

private:
    void come();

    QTimer m_timer;
    std::chrono::milliseconds m_wait; ///< the next one
    std::unique_ptr<DirectoryWatch> m_watch;
};

} // namespace kestrum
