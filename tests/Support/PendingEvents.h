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
    QCoreApplication::processEvents(); // runs the work that the handlers deferred
}

} // namespace kestrum
