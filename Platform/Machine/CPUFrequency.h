// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <QStringList>
#include <optional>

namespace kestrum {

/// The clock of the processor's fastest core. The clocks of the others say nothing: idle cores run slowly.
class CPUFrequency {
public:
    explicit CPUFrequency(const QString& root = {});

    /// The highest frequency of all cores, in hertz. Nothing if the kernel reports none, as in many virtual machines.
    std::optional<double> read();

    /// Whether the kernel reports a frequency. Quick on any number of cores, unlike `read`.
    bool isReported();

private:
    void findPolicies();
    std::optional<double> ofPolicies();
    std::optional<double> ofCPUInfo();

    QString m_root;
    QString m_folder;
    QStringList m_policies; ///< files, one for each group of cores with a common clock
    KernelFile m_cpuInfo;
    int m_untilSearch = 0; ///< calls of `read` until the next search for policies
};

} // namespace kestrum
