// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// Facts about the processor, read from /sys. Known names: "hw.nperflevels", "hw.perflevelN.logicalcpu",
/// "hw.perflevelN.name", level 0 being the fastest; callers and tests look values up by these fixed names. A machine whose
/// cores are all alike has none of them.
class KernelValues {
public:
    /// `root` is prepended to every path, so that a copied tree can stand for a machine.
    explicit KernelValues(const QString& root = {});

    /// Nothing for an unknown name, for a text value, and where the machine does not say.
    std::optional<qint64> integer(const QByteArray& name) const;
    /// The raw bytes of a text value, without a terminating zero.
    std::optional<QByteArray> text(const QByteArray& name) const;

    /// The kernel's numbers of the online processors of each level, level 0 first; none for a level whose list cannot be
    /// read.
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
