// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// Facts about the processor, read from "/sys". Callers look them up by fixed names: "hw.nperflevels",
/// "hw.perflevelN.logicalcpu" and "hw.perflevelN.name". Level 0 is the fastest. On a machine whose cores are all alike,
/// none of these names has a value.
class KernelValues {
public:
    /// `root` is prepended to every path, so that a copied tree can stand for a machine.
    explicit KernelValues(const QString& root = {});

    /// Nothing for an unknown name, for the name of a text value, and where the kernel does not report the value.
    std::optional<qint64> integer(const QByteArray& name) const;
    /// The raw bytes of a text value, without a terminating zero.
    std::optional<QByteArray> text(const QByteArray& name) const;

    /// The kernel's numbers of the online processors, one list per level, level 0 first. The list of a level is empty
    /// when the kernel's list cannot be read.
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
    QList<Level> levels() const;
    std::optional<Value> levelValue(const QByteArray& name) const;
    QString m_root;
};

} // namespace kestrum
