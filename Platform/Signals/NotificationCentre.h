// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QtGlobal>
#include <functional>
#include <optional>

namespace kestrum {

/// Named signals without content for all processes of the same user, the poster included. Several posts in quick succession may
/// arrive as one: a delivery means "read again" and must not be counted. Only posts are delivered, whatever happens to the
/// signals' directory. Without a private runtime directory, signals stay within the process, with one log line.
namespace NotificationCentre {

using Token = qint32;

/// Posts `name`. Never blocks on a listener; any thread. Returns why other processes cannot receive it; empty if they can.
QString post(const QString& name);

/// Why signals stay within this process at present; empty if they do not.
QString obstacle();

/// Runs `handler` on the main thread after each later post of exactly `name`. Returns a token for `cancel`; nothing if `name` is
/// empty or too long for a file name. Main thread.
std::optional<Token> registerDispatch(const QString& name, std::function<void()> handler);

/// When `name` was last posted by any process, in seconds since 1970, at most a few milliseconds early; nothing if never, or if
/// it cannot be known. For a program that could not listen while it was loading.
std::optional<double> lastPost(const QString& name);

/// Removes a registration. Its handler does not run again, not even for an earlier post.
void cancel(Token token);

} // namespace NotificationCentre
} // namespace kestrum
