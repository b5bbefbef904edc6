#pragma once

#include "tests/Support/FileTree.h"

#include <QFile>

namespace kestrum {

/// A process of a `FakeProcesses`. Members that are empty have no file.
struct FakeProcess {
    int pid = 0;
    int parent = 1;
    QByteArray command = "a";
    QByteArray program {};   ///< path of the program
    QByteArray group {};     ///< path of the control group
    QByteArrayList words {}; ///< of the command line
    int job = 0;             ///< by default the pid
    int terminal = 0;        ///< device number
    quint64 start = 1000;
    quint64 time = 0;
    quint64 childrenTime = 0;
    quint64 flags = 0x400000;

    /// The content of "stat".
    QByteArray stat() const
    {
        QByteArray text = QByteArray::number(pid) + " (" + command + ") S";
        const auto add = [&text](const auto& value) { (text += ' ') += QByteArray::number(value); };
        add(parent);
        add(job ? job : pid);
        add(job ? job : pid);
        add(terminal);
        add(-1);
        add(flags);
        for (int i = 0; i < 4; ++i)
            add(0);
        add(time);
        add(0);
        add(childrenTime);
        return text + " 0 20 0 1 0 " + QByteArray::number(start)
            + " 2465792 200 18446744073709551615 1 1 0\n";
    }
};

/// A "/proc" that stands for the processes of a machine.
class FakeProcesses {
public:
    static constexpr int pseudoTerminal = 136 << 8; ///< a device number
    static constexpr int virtualConsole = 4 << 8 | 2;
    static constexpr quint64 kernelThread = 0x200000; ///< one of the flags

    QString root() const { return m_tree.root(); }

    void add(const FakeProcess& process) const
    {
        write(process.pid, "stat", process.stat());
        if (!process.group.isEmpty())
            write(process.pid, "cgroup", "0::" + process.group + '\n');
        if (!process.words.isEmpty())
            write(process.pid, "cmdline", process.words.join('\0') + '\0');
        if (!process.program.isEmpty()) {
            QFile::remove(file(process.pid, "exe"));
            QVERIFY(QFile::link(QFile::decodeName(process.program), file(process.pid, "exe")));
        }
    }
    void remove(int pid) const { QVERIFY(QDir(file(pid, ".")).removeRecursively()); }
    void write(int pid, const char* name, const QByteArray& content) const
    {
        kestrum::write(file(pid, name), content);
    }
    QString file(int pid, const char* name) const
    {
        return m_tree.path(QStringLiteral("proc/%1/%2").arg(pid).arg(QLatin1StringView(name)));
    }

private:
    FileTree m_tree;
};

} // namespace kestrum
