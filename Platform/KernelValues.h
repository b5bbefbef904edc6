#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Facts about the processor by name, answered from /sys. Known names: "hw.nperflevels",
/// "hw.perflevelN.logicalcpu", "hw.perflevelN.name", level 0 being the fastest. An ordinary machine, whose cores are
/// all alike, has none of them.
class KernelValues {
public:
    /// `root` is put before every path, so that a copied tree can stand for a machine.
    explicit KernelValues(const QString &root = {});

    std::optional<qint64> integer(const QByteArray &name) const;
    /// The raw bytes of a text value, without a terminating zero.
    std::optional<QByteArray> text(const QByteArray &name) const;

    /// Processors that are switched on, at least 1.
    int activeProcessorCount() const;

private:
    struct Level {
        int logicalCpus = 0;
        QByteArray name;
    };
    QList<Level> levels() const;
    QString m_root;
};

} // namespace kestrum
