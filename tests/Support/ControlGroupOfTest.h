#pragma once

#include "Platform/Machine/ControlGroup.h"
#include "tests/Support/FileContent.h"

#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace kestrum {

/// A control group below that of the test, which counts the processor time of its processes. Not every machine lets a test make
/// one. The destructor removes the group, whose processes must have ended.
class ControlGroupOfTest {
public:
    /// `name` is the last part of the group's path.
    explicit ControlGroupOfTest(const QString& name)
    {
        const QByteArray content = contentOf(QStringLiteral("/proc/self/cgroup"));
        const qsizetype begin = content.indexOf("0::/");
        if (begin < 0)
            return;
        const QByteArray own = content.sliced(begin + 3, content.indexOf('\n', begin) - begin - 3);
        // Within a container, every group is the container.
        if (const auto kind = ControlGroup::parsed(own).kind;
            kind == ControlGroup::Kind::container || kind == ControlGroup::Kind::machine)
            return;
        for (const char* top : { "/sys/fs/cgroup/unified", "/sys/fs/cgroup" }) {
            struct statfs system { };
            const QByteArray path = top + (own == "/" ? QByteArray() : own) + '/' + name.toUtf8();
            if (::statfs(top, &system) == 0 && system.f_type == CGROUP2_SUPER_MAGIC
                && ::mkdir(path.constData(), 0755) == 0) {
                m_path = QFile::decodeName(path);
                return;
            }
        }
    }
    ~ControlGroupOfTest()
    {
        if (isMade())
            ::rmdir(QFile::encodeName(m_path).constData());
    }
    Q_DISABLE_COPY_MOVE(ControlGroupOfTest)

    bool isMade() const { return !m_path.isEmpty(); }
    /// A process that writes "0" to this file moves into the group.
    QString processFile() const { return m_path + QStringLiteral("/cgroup.procs"); }
    /// The processor time of all its processes in µs, as the kernel counts it.
    qint64 time() const
    {
        for (const QByteArray& line : contentOf(m_path + QStringLiteral("/cpu.stat")).split('\n')) {
            if (line.startsWith("usage_usec "))
                return line.mid(11).toLongLong();
        }
        return -1;
    }

private:
    QString m_path;
};

} // namespace kestrum
