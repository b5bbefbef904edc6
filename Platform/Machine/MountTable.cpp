// SPDX-License-Identifier: MIT
#include "Platform/Machine/MountTable.h"

#include "Platform/Machine/KernelText.h"

#include <QFile>
#include <algorithm>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// A line of the table is "id parent major:minor root path options [more…] - type source options". In paths and sources, blanks,
// line ends and backslashes are written as a backslash and three octal digits.

namespace kestrum {
namespace {

// As the kernel writes it.
struct Mount {
    std::string_view id;
    std::string_view parent;
    std::string_view device;
    std::string_view path;
    std::string_view type;
    std::string_view source;
};

std::optional<Mount> mountOf(std::string_view line)
{
    // Words can be empty, so every single blank ends one.
    const auto take = [&line] { return KernelText::takeUpTo(' ', line); };
    Mount mount;
    mount.id = take();
    mount.parent = take();
    mount.device = take();
    take();
    mount.path = take();
    while (!line.empty() && take() != "-") { }
    mount.type = take();
    mount.source = take();
    // Only the root's path ends in a slash.
    if (!mount.path.starts_with('/') || (mount.path.size() > 1 && mount.path.ends_with('/'))
        || mount.device.empty() || mount.type.empty() || mount.source.empty())
        return std::nullopt;
    return mount;
}

QByteArray unescaped(std::string_view text)
{
    const auto isDigit = [](char character) { return character >= '0' && character <= '7'; };
    QByteArray result;
    result.reserve(qsizetype(text.size()));
    while (!text.empty()) {
        const bool isEscape
            = text[0] == '\\' && text.size() > 3 && std::all_of(text.begin() + 1, text.begin() + 4, isDigit);
        result += isEscape ? char((text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0')) : text[0];
        text.remove_prefix(isEscape ? 4 : 1);
    }
    return result;
}

bool breaksLine(QChar character)
{
    const auto category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line
        || category == QChar::Separator_Paragraph;
}

// A text for one line. A label may hold any character.
QString display(const QByteArray& text)
{
    QString result = QFile::decodeName(text);
    std::replace_if(result.begin(), result.end(), breaksLine, u' ');
    return result;
}

bool isBelow(std::string_view path, std::string_view folder)
{
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

template <std::size_t count> bool isOneOf(std::string_view word, const std::string_view (&words)[count])
{
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

// Volumes on other machines, among them the folders that a virtual machine's host shares.
bool isNetwork(const Mount& mount)
{
    static constexpr std::string_view types[] { "nfs", "nfs4", "cifs", "smb3", "sshfs", "rclone", "davfs",
        "davfs2", "9p", "virtiofs", "glusterfs", "ceph", "ceph-fuse" };
    static constexpr std::string_view inUserSpace = "fuse.";
    // A WebDAV share is mounted without a type of its own.
    if (mount.type == "fuse")
        return mount.source.starts_with("http://") || mount.source.starts_with("https://");
    return isOneOf(
        mount.type.starts_with(inUserSpace) ? mount.type.substr(inUserSpace.size()) : mount.type, types);
}

// Where the system mounts for itself.
bool isOfTheSystem(std::string_view path)
{
    // At and below "/etc" are files and folders of volumes that have another place too.
    for (const std::string_view folder : { "/boot", "/efi", "/snap", "/etc" }) {
        if (path == folder || isBelow(path, folder))
            return true;
    }
    // A volume that somebody gave to these as a whole is shown.
    for (const std::string_view folder : { "/var/lib/docker", "/var/lib/containers", "/var/lib/snapd" }) {
        if (isBelow(path, folder))
            return true;
    }
    return false;
}

bool isVolume(const Mount& mount)
{
    // An image is always full, an overlay shows the space of another volume, and asking "autofs" would mount what nobody
    // has asked for.
    static constexpr std::string_view others[] { "squashfs", "erofs", "iso9660", "overlay", "autofs" };
    if (isOneOf(mount.type, others) || isOfTheSystem(mount.path))
        return false;
    // The path's folder no longer exists.
    if (mount.path.ends_with("//deleted"))
        return false;
    // "/dev/fuse" stands for file systems in user space that name no source.
    return mount.type == "zfs" || isNetwork(mount)
        || (mount.source.starts_with("/dev/") && mount.source != "/dev/fuse"
            && !mount.source.starts_with("/dev/loop"));
}

/// Which mounts cannot be asked, because another one is mounted over them or over one that they stand in: their paths lead
/// elsewhere.
class Coverings {
public:
    explicit Coverings(const std::vector<Mount>& mounts)
    {
        for (const Mount& mount : mounts)
            m_mounts.emplace(mount.id, &mount);
        for (const Mount& mount : mounts) {
            if (const Mount* parent = parentOf(mount); parent && parent->path == mount.path)
                m_covered.insert(parent->id);
        }
    }

    bool hide(const Mount& mount) const
    {
        if (m_covered.contains(mount.id))
            return true;
        const Mount* child = &mount;
        // A damaged table may lead in a circle.
        for (std::size_t step = 0; step < m_mounts.size(); ++step) {
            const Mount* parent = parentOf(*child);
            if (!parent)
                return false;
            // What covers a mount stands where that one did, and not in it.
            if (m_covered.contains(parent->id) && parent->path != child->path)
                return true;
            child = parent;
        }
        return false;
    }

private:
    /// The mount that another one stands in; null if it is not in the table.
    const Mount* parentOf(const Mount& mount) const
    {
        const auto found = m_mounts.find(mount.parent);
        return found == m_mounts.end() || mount.parent == mount.id ? nullptr : found->second;
    }

    std::unordered_map<std::string_view, const Mount*> m_mounts;
    std::unordered_set<std::string_view> m_covered;
};

MountTable::Volume volumeOf(const Mount& mount)
{
    MountTable::Volume volume;
    volume.path = unescaped(mount.path);
    volume.name = display(volume.path);
    // The data sets of a pool share its space, though each counts as a device.
    volume.device = mount.type == "zfs" ? "zfs " + unescaped(mount.source.substr(0, mount.source.find('/')))
                                        : QByteArray(mount.device.data(), qsizetype(mount.device.size()));
    if (isNetwork(mount)) {
        volume.kind = VolumeUse::Kind::network;
        volume.name = display(unescaped(mount.source));
    } else if (isBelow(mount.path, "/media") || isBelow(mount.path, "/run/media")) {
        volume.kind = VolumeUse::Kind::removable;
        volume.name = display(unescaped(mount.path.substr(mount.path.rfind('/') + 1)));
    }
    return volume;
}

int rank(const MountTable::Volume& volume)
{
    return volume.path == "/" ? 0 : volume.path == "/home" ? 1 : 2 + int(volume.kind);
}

} // namespace

MountTable::MountTable(const QString& root)
    : m_file(root + QStringLiteral("/proc/self/mountinfo"))
{
    update();
}

bool MountTable::update()
{
    if (!m_file.hasChanged())
        return false;
    const QList<Volume> last = std::exchange(m_volumes, volumes(m_file.read().value_or(std::string_view())));
    return m_volumes != last;
}

QList<MountTable::Volume> MountTable::volumes(std::string_view table)
{
    std::vector<Mount> mounts;
    while (!table.empty()) {
        if (const auto mount = mountOf(KernelText::takeLine(table)))
            mounts.push_back(*mount);
    }
    const Coverings coverings(mounts);

    QList<Volume> result;
    for (const Mount& mount : mounts) {
        if (!isVolume(mount) || coverings.hide(mount))
            continue;
        Volume volume = volumeOf(mount);
        const auto known = std::find_if(result.begin(), result.end(),
            [&volume](const Volume& one) { return one.device == volume.device; });
        if (known == result.end())
            result.append(std::move(volume));
        else if (std::tuple(volume.path.size(), volume.path) < std::tuple(known->path.size(), known->path))
            *known = std::move(volume);
    }
    std::sort(result.begin(), result.end(), [](const Volume& one, const Volume& other) {
        return std::tuple(rank(one), one.name, one.path) < std::tuple(rank(other), other.name, other.path);
    });
    return result;
}

} // namespace kestrum
