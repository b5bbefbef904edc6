// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QtGlobal>
#include <functional>
#include <optional>

namespace kestrum {

/// Sends named signals without content to all processes of the same user, including the process that posts. Several quick posts
/// may be delivered as one: a delivery means "read again" and must not be counted. A handler runs only after a post, even if
/// the directory of the signals is changed or removed. Without a private runtime directory, signals stay within this process,
/// and a warning is logged once.
namespace NotificationCentre {

using Token = qint32;

/// Posts the signal `name` without waiting for a listener. Thread-safe. Returns the reason why other processes cannot receive
/// the signal; empty on success.
QString post(const QString& name);

/// Returns the reason why signals do not reach other processes at present; empty if signals reach them.
QString obstacle();

/// Runs `handler` on the main thread after each later post of exactly `name`. Returns a token for `cancel`; nothing if
/// `handler` is empty, or if `name` is empty or too long for a file name. Main thread only.
std::optional<Token> registerDispatch(const QString& name, std::function<void()> handler);

/// Returns the time of the last post of `name` by any process, in seconds since 1970, at most a few milliseconds early. Returns
/// nothing if `name` was never posted or the time cannot be read. For a program that could not listen while it was loading.
std::optional<double> lastPost(const QString& name);

/// Removes the registration of `token`. The handler does not run again, not even for a post before this call.
void cancel(Token token);

} // namespace NotificationCentre
} // namespace kestrum
