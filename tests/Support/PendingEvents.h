// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/DirectoryWatch.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

namespace kestrum {

/// Returns when this process has been notified of all changes of files, signals and settings so far. All watches of a process
/// share one queue, which keeps the order. So an event that this function causes comes after all others.
inline void deliverPendingEvents()
{
    const QTemporaryDir directory;
    bool isDelivered = false;
    const DirectoryWatch watch(directory.path(), DirectoryWatch::Interest::content,
        [&isDelivered](const QByteArray&) { isDelivered = true; });
    QVERIFY(QDir(directory.path()).mkdir(QStringLiteral("last")));
    QTRY_VERIFY(isDelivered);
    // Runs the work that the handlers deferred, and what this work deferred: events that are posted meanwhile wait for the next turn.
    for (int turn = 0; turn < 3; ++turn)
        QCoreApplication::processEvents();
}

} // namespace kestrum
