// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QtGlobal>
#include <functional>
#include <optional>

namespace kestrum {

/// Named signals without content, for all processes of the same user, including the process that posts. Several posts in quick
/// succession may arrive as one: a delivery means "read again" and must not be counted. Only posts are delivered, whatever
/// happens to the signals' directory. Without a private runtime directory, signals stay within the process, and one line in the
/// log says so.
namespace NotificationCentre {

using Token = qint32;

/// Posts the signal `name` without waiting for a listener. Any thread. Returns the reason why other processes cannot receive the
/// signal; empty if they can receive it.
QString post(const QString& name);

/// The reason why signals stay within this process at present; empty if signals reach other processes.
QString obstacle();

/// Runs `handler` on the main thread after each later post of exactly `name`. Returns a token for `cancel`; nothing if `name` is
/// empty or too long for a file name. Main thread.
std::optional<Token> registerDispatch(const QString& name, std::function<void()> handler);

/// The time of the last post of `name` by any process, in seconds since 1970, at most a few milliseconds early. Nothing if
/// `name` was never posted or the time cannot be read. For a program that could not listen while it was loading.
std::optional<double> lastPost(const QString& name);

/// Removes a registration. Its handler does not run again, not even for an earlier post.
void cancel(Token token);

} // namespace NotificationCentre
} // namespace kestrum
