// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <utility>

class QObject;

namespace kestrum {

/// The settings of desktops that keep them in dconf, read and written by the program "gsettings". Values have the text form that
/// GLib gives them.
namespace DesktopSettings {

/// The values of a schema, by the names of their keys.
using Values = QMap<QString, QByteArray>;

/// Reads all values of `schema`. The event loop calls `answered`, unless `context` is destroyed before.
void read(const QString& schema, QObject* context, std::function<void(const Result<Values>&)> answered);

/// Writes values one after the other, up to the first failure. The event loop calls `done`, unless `context` is destroyed before.
void write(const QString& schema, const QList<std::pair<QString, QByteArray>>& values, QObject* context,
    std::function<void(const Result<>&)> done);

/// The failure for a value that is not there after it was written: without its store, "gsettings" forgets all values at its end,
/// and calls that a success.
Failure notKept();

/// The list of texts in `text`; nothing if it is something else.
std::optional<QStringList> list(const QByteArray& text);
QByteArray text(const QStringList& list);

} // namespace DesktopSettings
} // namespace kestrum
