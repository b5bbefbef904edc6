// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Popover/PopoverSource.h"

namespace kestrum {

/// A source that reads nothing: all readings are absent for ever.
class IdlePopoverSource final : public PopoverSource {
    Q_OBJECT
public:
    const PopoverReadings& readings() const override { return m_readings; }
    void opened(MonitorSection) override { }
    void closed() override { }
    void approached(MonitorSection) override { }
    void resetHighest() override { }
    void setListHeld(bool) override { }

private:
    PopoverReadings m_readings;
};

} // namespace kestrum
