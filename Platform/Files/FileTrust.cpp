// SPDX-License-Identifier: MIT
#include "Platform/Files/FileTrust.h"

#include "Platform/Files/FilePath.h"

#include <QFile>
#include <QtEndian>
#include <cstring>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr char accessListAttribute[] = "system.posix_acl_access";
// Room for far more entries than usual. A longer list cannot be read and is therefore not trusted.
constexpr qsizetype mostBytes
    = sizeof(posix_acl_xattr_header) + 1024 * qsizetype(sizeof(posix_acl_xattr_entry));

/// The file's access list; empty if the file has no list or the file system does not support lists.
Result<QByteArray> accessList(const QByteArray& path)
{
    QByteArray list(mostBytes, Qt::Uninitialized);
    const ssize_t size = ::getxattr(path.constData(), accessListAttribute, list.data(), size_t(list.size()));
    if (size < 0 && errno != ENODATA && errno != EOPNOTSUPP)
        return Failure::fromErrno("read");
    list.truncate(std::max<ssize_t>(0, size));
    return list;
}

QString mode(const struct stat& state)
{
    return QStringLiteral("(mode %1)").arg(state.st_mode & 07777, 4, 8, QLatin1Char('0'));
}

/// Whether `group` is the private group of the file's owner. On many systems, a user's private group has the user's number.
bool isOwnGroup(gid_t group, const struct stat& state)
{
    return group == state.st_uid;
}

/// Returns the reason, with the user or group, if the access list allows another user or another user's group to write; else an
/// empty text. `wayIn` checks the rights of the owner and of everybody.
QString writerOf(const QByteArray& list, const struct stat& state)
{
    // If a file has an access list, the group bits of its mode are the list's mask, which limits all entries checked below.
    if ((state.st_mode & S_IWGRP) == 0)
        return {};
    posix_acl_xattr_entry entry;
    constexpr qsizetype size = sizeof entry;
    for (qsizetype at = sizeof(posix_acl_xattr_header); at + size <= list.size(); at += size) {
        std::memcpy(&entry, list.constData() + at, size_t(size));
        if ((qFromLittleEndian(entry.e_perm) & ACL_WRITE) == 0)
            continue;
        const auto tag = qFromLittleEndian(entry.e_tag);
        const auto id = qFromLittleEndian(entry.e_id);
        if (tag == ACL_USER && id != 0 && id != ::geteuid())
            return QStringLiteral("its access list lets user %1 change it").arg(id);
        const gid_t group = tag == ACL_GROUP_OBJ ? state.st_gid : id;
        if ((tag == ACL_GROUP || tag == ACL_GROUP_OBJ) && !isOwnGroup(group, state))
            return QStringLiteral("its access list lets group %1 change it").arg(group);
    }
    return {};
}

/// Returns the reason if any user except this user and root can change the file or directory `place`; else an empty text.
QString wayIn(const QByteArray& place)
{
    struct stat state;
    if (::stat(place.constData(), &state) != 0)
        return QStringLiteral("who may change it is not known: %1").arg(qt_error_string(errno));
    if (state.st_uid != 0 && state.st_uid != ::geteuid())
        return QStringLiteral("it belongs to user %1").arg(state.st_uid);
    // In a sticky directory, every user may create entries but change only his own.
    if (S_ISDIR(state.st_mode) && (state.st_mode & S_ISVTX) != 0)
        return {};
    if ((state.st_mode & S_IWOTH) != 0)
        return QStringLiteral("everybody may change it %1").arg(mode(state));
    const auto list = accessList(place);
    if (!list)
        return QStringLiteral("its access list cannot be read: %1").arg(list.failure().reason);
    if (!list->isEmpty())
        return writerOf(*list, state);
    if ((state.st_mode & S_IWGRP) != 0 && !isOwnGroup(state.st_gid, state))
        return QStringLiteral("group %1 may change it %2").arg(state.st_gid).arg(mode(state));
    return {};
}

} // namespace

std::optional<QString> FileTrust::wayInForOthers(const QByteArray& path)
{
    for (QByteArray place = path;; place = FilePath::split(place).directory) {
        if (const QString reason = wayIn(place); !reason.isEmpty())
            return QFile::decodeName(place) + QStringLiteral(": ") + reason;
        if (place == FilePath::split(place).directory)
            return std::nullopt;
    }
}

} // namespace kestrum
