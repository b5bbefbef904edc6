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

    /// The frequency of a group of cores, in hertz, from the text of its file "scaling_cur_freq". Nothing if it cannot be true.
    static std::optional<double> ofPolicy(std::string_view text);
    /// The highest frequency in "/proc/cpuinfo", in hertz.
    static std::optional<double> ofCPUInfo(std::string_view content);

private:
    void findPolicies();
    std::optional<double> ofPolicies();

    QString m_root;
    QString m_folder;
    QStringList m_policies; ///< files, one for each group of cores with a common clock
    KernelFile m_cpuInfo;
    int m_untilSearch = 0; ///< calls of `read` until the next search for policies
};

} // namespace kestrum
