// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Readings/AppListReader.h"
#include "KestrumShared/Readings/CPUPopoverReader.h"
#include "KestrumShared/Readings/DiskPopoverReader.h"
#include "KestrumShared/Readings/ItemHistories.h"
#include "KestrumShared/Readings/MemoryPopoverReader.h"
#include "KestrumShared/Readings/SensorsPopoverReader.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"
#include "Platform/Machine/Bell.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <memory>
#include <optional>

namespace kestrum {

/// Collects what popovers show. While none is open, only the items' own values are added to the histories. While one is open,
/// what it shows is read at the ticks of the items' readings: fast things at once, slow ones by workers, whose answers are
/// shown at the next tick, or as soon as they are there where the popover was just opened or ticks are far apart. Main thread
/// only, which never waits.
class PopoverReader final : public QObject {
    Q_OBJECT
public:
    /// `live` are the items' readings, which somebody else samples. For `root`, see `LiveReadings`.
    explicit PopoverReader(
        std::shared_ptr<const LiveReadings> live, const QString& root = {}, QObject* parent = nullptr);
    /// Tests pass devices and volumes of their own.
    PopoverReader(std::shared_ptr<const LiveReadings> live, const QString& root,
        SensorsPopoverReader::ReadList readList, const StorageUse::Ask& askStorage,
        QObject* parent = nullptr);

    /// Only those of the open popover are kept up to date. They change only just before `changed`, and by `opened` and
    /// `resetHighest`.
    const PopoverReadings& readings() const { return m_readings; }

    /// The items' readings have a new sample, in which `wanted` was read. There is one every `interval`.
    void sampled(const WantedReadings& wanted, std::chrono::milliseconds interval);
    /// The items' readings have the worker's results for the last sample.
    void completed();
    /// The items' readings are not sampled for a while, because nobody wants them.
    void paused() { m_histories.pause(); }

    /// The popover of `section` is about to be shown, in the place of another one if there is one. Call this when the items'
    /// readings have been sampled for it: what is known by then is in `readings` when the call returns.
    void opened(MonitorSection section);
    void closed();
    /// The popover of `section` may be opened soon. Can be called often.
    void approached(MonitorSection section);

    /// Forgets the highest temperatures and fan speeds.
    void resetHighest();
    /// See `AppRanking::setHeld`.
    void setListHeld(bool isHeld) { m_apps.setHeld(isHeld); }

    /// How often the processes were scanned, for tests.
    int appScans() const { return m_apps.scans(); }

Q_SIGNALS:
    /// The readings of the open popover are new.
    void changed();

private:
    void update(PopoverSample::Occasion occasion);
    void awaitSilence();
    void closeReaders();
    QList<AppUse>* listOf(MonitorSection section);

    std::shared_ptr<const LiveReadings> m_live;
    PopoverReadings m_readings;
    ItemHistories m_histories;
    Bell m_bell;
    QTimer
        m_silence; ///< rings when a volume that has not answered is to be shown as silent, in case no tick comes before
    AppListReader m_apps;
    CPUPopoverReader m_cpu;
    DiskPopoverReader m_disk;
    SensorsPopoverReader m_sensors;
    std::optional<MonitorSection> m_section; ///< of the open popover
    std::chrono::milliseconds m_interval {};
    int m_ticks = 0; ///< since the popover was opened
};

} // namespace kestrum
