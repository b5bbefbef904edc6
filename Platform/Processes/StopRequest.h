// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QObject>

namespace kestrum {

/// Turns SIGINT and SIGTERM into a Qt signal, so that a program can end by returning from its event loop. While this object
/// exists, the two signals have no other effect. Create one per process, before any second thread; if that is impossible, call
/// `block` first.
class StopRequest : public QObject {
    Q_OBJECT
public:
    /// Blocks the signals in this thread, and in threads that it starts later, until a `StopRequest` exists. For programs whose
    /// application object starts threads: the application object must exist before the `StopRequest`.
    static void block();

    StopRequest();

Q_SIGNALS:
    void requested();

private:
    FileDescriptor m_descriptor;
};

} // namespace kestrum
