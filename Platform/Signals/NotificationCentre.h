#pragma once

#include <QString>
#include <QtGlobal>
#include <functional>
#include <optional>

namespace kestrum {

/// Named signals without content that every process of the same user hears, the poster included. Several posts
/// in quick succession may arrive as one, so a handler takes a delivery as "look again", never as a count. What nobody posted is
/// not delivered, whatever happens to the signals' directory. Where there is no private runtime directory, signals stay within the
/// process and the log says so once.
namespace NotificationCentre {

using Token = qint32;

/// Tells every listener of `name`. Never blocks on a listener; any thread. Returns why no other process can hear it, empty when
/// they can: for those who post for no other reason.
QString post(const QString& name);

/// Why signals stay within this process at present; empty when they do not.
QString obstacle();

/// Runs `handler` on the main thread after each post of exactly `name` from now on. Returns a token for
/// `cancel`, or nothing when `name` cannot be listened to (empty, or too long to be a file name). Main thread.
std::optional<Token> registerDispatch(const QString& name, std::function<void()> handler);

/// When `name` was posted last by any process, in seconds since 1970, a few milliseconds early at most; nothing when it
/// never was or cannot be known. For a program that could not listen while it was being loaded.
std::optional<double> lastPost(const QString& name);

/// Ends a registration: its handler does not run again, also not for a post that was made before.
void cancel(Token token);

} // namespace NotificationCentre
} // namespace kestrum
