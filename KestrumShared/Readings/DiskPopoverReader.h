// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Readings/PopoverSample.h"
#include "Platform/Machine/Pressure.h"
#include "Platform/Machine/Volumes.h"

#include <QString>
#include <optional>

namespace kestrum {

/// Reads what the open popover of the disks shows, but for its list of apps.
class DiskPopoverReader {
public:
    /// Tests pass a function that hangs.
    explicit DiskPopoverReader(const QString& root, const StorageUse::Ask& ask = ::statvfs)
        : m_root(root)
        , m_volumes(root, ask)
    {
    }

    void update(DiskPopoverReadings& readings, const PopoverSample& sample);
    /// See `Volumes::nextSilence`.
    std::optional<Volumes::Clock::time_point> nextSilence() const { return m_volumes.nextSilence(); }
    /// Closes the files that only the open popover needs. Volumes that do not answer are left to their threads.
    void close();

private:
    QString m_root;
    Volumes m_volumes;
    std::optional<Pressure> m_pressure;
    int m_rateAnswers = 0;
};

} // namespace kestrum
