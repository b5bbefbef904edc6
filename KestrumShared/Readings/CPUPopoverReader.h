// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Readings/Background.h"
#include "KestrumShared/Readings/PopoverSample.h"
#include "KestrumShared/Readings/RowDecision.h"
#include "Platform/Machine/CPUFrequency.h"
#include "Platform/Machine/SystemFigures.h"

#include <QByteArray>
#include <QString>

namespace kestrum {

/// Reads what the open popover of the CPU shows, but for its list of apps.
class CPUPopoverReader {
public:
    explicit CPUPopoverReader(const QString& root)
        : m_root(root)
    {
    }

    void update(CPUPopoverReadings& readings, const PopoverSample& sample);
    /// Closes the files that only the open popover needs.
    void close() { m_opening.reset(); }

private:
    struct Opening {
        explicit Opening(const QString& root);
        LoadAverage load;
        Uptime uptime;
        std::shared_ptr<CPUFrequency> frequency;
    };
    void updateTiers(CPUPopoverReadings& readings, bool isOpening);

    QString m_root;
    std::optional<Opening> m_opening;
    qsizetype m_tieredCount = -1;    ///< for how many cores the tiers were found
    QByteArray m_tieredCores;        ///< the kernel's list of these cores
    bool m_knowsTemperature = false; ///< whether it was answered since the last opening
    RowExpectation m_expectedWatts, m_expectedHertz;
    Background<std::optional<double>> m_hertz; ///< on a worker, because many cores take long
};

} // namespace kestrum
