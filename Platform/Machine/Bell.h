// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace kestrum {

/// Wakes the main thread from other threads. Several rings before the main thread wakes count as one. An idle bell
/// costs nothing. Main thread only, except for the functions that `rope` returns.
class Bell final : public QObject {
    Q_OBJECT
public:
    explicit Bell(QObject* parent = nullptr);

    /// Returns a function that rings the bell. Any thread may call this function, even after the bell is destroyed. The
    /// returned function is empty if the kernel gave the bell no file descriptor.
    std::function<void()> rope() const;

Q_SIGNALS:
    void rung();

private:
    std::shared_ptr<const FileDescriptor> m_counter;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace kestrum
