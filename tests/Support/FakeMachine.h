#pragma once

#include "Platform/Machine/KernelValues.h"
#include "tests/Support/FileTree.h"

namespace kestrum {

/// A "/sys" that stands for a machine. Tests add further files.
class FakeMachine {
public:
    using Kinds = QList<std::pair<const char*, QByteArray>>;
    struct Capacity {
        int firstCpu;
        int count;
        QByteArray capacity;
    };

    /// A row of a table of machines, with the arguments of the constructor. A test adds what it expects.
    struct Row {
        const char* name;
        int cpus;
        QByteArray online;
        Kinds kinds;
        QList<Capacity> capacities;
    };

    explicit FakeMachine(const Row& row)
        : FakeMachine(row.cpus, row.online, row.kinds, row.capacities)
    {
    }
    /// A machine with `cpus` processors. `online` lists the processors that are switched on; by default, all are. `kinds` maps
    /// each kind (such as "cpu_core") to its list of processors. Without kinds and capacities, all processors are alike.
    explicit FakeMachine(int cpus, const QByteArray& online = {}, const Kinds& kinds = {},
        const QList<Capacity>& capacities = {})
    {
        writeOnline((online.isEmpty() ? "0-" + QByteArray::number(cpus - 1) : online) + '\n');
        for (const auto& [kind, list] : kinds)
            writeKind(kind, list + '\n');
        for (const Capacity& some : capacities)
            writeCapacities(some.firstCpu, some.count, some.capacity + '\n');
        for (int cpu = 0; cpu < cpus; ++cpu)
            m_tree.write(cpuFile(cpu, "topology/core_id"), QByteArray::number(cpu) + '\n');
        // These folders are no processors, but their names start like those of processors.
        m_tree.write(QStringLiteral("sys/devices/system/cpu/cpufreq/boost"), "1\n");
        m_tree.write(QStringLiteral("sys/devices/system/cpu/cpuidle/cpu_capacity"), "77\n");
    }

    void writeOnline(const QByteArray& list) const
    {
        m_tree.write(QStringLiteral("sys/devices/system/cpu/online"), list);
    }

    /// Writes the list of the processors of one kind (such as "cpu_core"), as the kernel does.
    void writeKind(const char* kind, const QByteArray& list) const
    {
        m_tree.write(QStringLiteral("sys/devices/%1/cpus").arg(QLatin1StringView(kind)), list);
    }

    void writeCapacities(int firstCpu, int count, const QByteArray& capacity) const
    {
        for (int cpu = firstCpu; cpu < firstCpu + count; ++cpu)
            m_tree.write(cpuFile(cpu, "cpu_capacity"), capacity);
    }

    void write(const QString& relative, const QByteArray& content) const { m_tree.write(relative, content); }

    QString root() const { return m_tree.root(); }
    KernelValues kernel() const { return KernelValues(root()); }

private:
    static QString cpuFile(int cpu, const char* name)
    {
        return QStringLiteral("sys/devices/system/cpu/cpu%1/%2").arg(cpu).arg(QLatin1StringView(name));
    }

    FileTree m_tree;
};

} // namespace kestrum
