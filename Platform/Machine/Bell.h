#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace kestrum {

/// Lets other threads tell the main thread that there is something to fetch. Rings that come together are one. It costs nobody
/// anything until it rings. Main thread only, but for the ropes.
class Bell final : public QObject {
    Q_OBJECT
public:
    explicit Bell(QObject* parent = nullptr);

    /// Rings when it is called, from any thread, and also when the bell is gone by then, which nobody hears. Empty where the
    /// kernel has no descriptor left.
    std::function<void()> rope() const;

Q_SIGNALS:
    void rung();

private:
    std::shared_ptr<const FileDescriptor> m_counter;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace kestrum
