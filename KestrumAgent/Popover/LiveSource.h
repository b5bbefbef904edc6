// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Popover/PopoverSource.h"
#include "KestrumAgent/Readings/Sampler.h"
#include "KestrumShared/Readings/PopoverReader.h"

namespace kestrum {

/// The readings of this machine for popovers, sampled together with those of the items.
class LiveSource final : public PopoverSource {
    Q_OBJECT
public:
    /// `sampler` must outlive this object. `root` is the sampler's.
    explicit LiveSource(Sampler& sampler, const QString& root = {}, QObject* parent = nullptr);

    const PopoverReadings& readings() const override { return m_reader.readings(); }
    void opened(MonitorSection section) override;
    void closed() override;
    void approached(MonitorSection section) override { m_reader.approached(section); }
    void resetHighest() override { m_reader.resetHighest(); }
    void setListHeld(bool isHeld) override { m_reader.setListHeld(isHeld); }

private:
    Sampler& m_sampler;
    PopoverReader m_reader;
};

} // namespace kestrum
