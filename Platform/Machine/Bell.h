// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace kestrum {

/// Wakes the main thread from other threads. Several rings before it wakes count as one. Idle, it costs nothing. Main
/// thread only, except for the ropes.
class Bell final : public QObject {
    Q_OBJECT
public:
    explicit Bell(QObject* parent = nullptr);

    /// A function that rings, callable from any thread, also after the bell is gone. Empty where the kernel has no
    /// descriptor left.
    std::function<void()> rope() const;

Q_SIGNALS:
    void rung();

private:
    std::shared_ptr<const FileDescriptor> m_counter;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace kestrum
