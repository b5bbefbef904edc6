// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <array>
#include <map>
#include <optional>

namespace kestrum {

/// Properties of the processor, read from "/sys". Callers use fixed names: "hw.nperflevels", "hw.perflevelN.logicalcpu"
/// and "hw.perflevelN.name". Level 0 is the fastest. If all cores are alike, none of these names has a value. Each file is read
/// when it is first needed, and not again.
class KernelValues {
public:
    /// What the kernel's files say, without blanks around it; absent where a file cannot be read.
    struct Texts {
        std::optional<QByteArray> online;
        std::array<std::optional<QByteArray>, 3> kinds; ///< lists of processors, fastest kind first
        std::map<int, QByteArray> capacities;           ///< by the processor's number
    };

    /// `root` is put before every path, so that a copy of another machine's files can be read.
    explicit KernelValues(const QString& root = {});
    /// A machine whose files say this.
    explicit KernelValues(const Texts& texts);

    /// The number with this name. Nothing for an unknown name, for a text, and if the kernel does not report the number.
    std::optional<qint64> integer(const QByteArray& name) const;
    /// The text with this name as raw bytes, without a terminating zero.
    std::optional<QByteArray> text(const QByteArray& name) const;

    /// The kernel's numbers for the online processors, one list per level, level 0 first. The list of a level is empty if
    /// the kernel's list for this level cannot be read.
    QList<QList<int>> levelProcessors() const;

    /// The number of online processors, at least 1.
    int activeProcessorCount() const;

private:
    struct Level {
        std::optional<int> logicalCpus; ///< nothing when the kernel's list cannot be read
        QByteArray name;
        QList<int> processors;
    };
    struct Value {
        Level level;
        QByteArray property;
    };
    const QList<Level>& levels() const;
    const std::optional<QByteArray>& online() const;
    Texts read() const;
    static QList<Level> levelsIn(const Texts& texts);
    std::optional<Value> levelValue(const QByteArray& name) const;

    QString m_root;
    mutable std::optional<std::optional<QByteArray>> m_online; ///< absent until it is read
    mutable std::optional<QList<Level>> m_levels;              ///< absent until they are read
};

} // namespace kestrum
