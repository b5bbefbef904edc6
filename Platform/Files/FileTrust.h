#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Who may change a file.
namespace FileTrust {

/// The way in which somebody else than we and root could change the file at `path`, or put something else in its place by way of
/// a folder above: one line that names the place, who it is and why. Nothing when nobody can. What cannot be found out counts
/// as a way in. Links are followed, and their own folders not looked at.
std::optional<QString> wayInForOthers(const QByteArray& path);

} // namespace FileTrust
} // namespace kestrum
