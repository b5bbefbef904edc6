// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QString>
#include <QStringList>

namespace kestrum {

/// What the user has done in an open popover. Not stored.
struct PopoverState {
    bool isPinned = false;
    bool hasPin = true;           ///< whether the header has the pin
    bool hasSystemMonitor = true; ///< whether the title "APPS" can be pressed
    bool explainsPower = false;   ///< whether a text explains "Needs permission"
    bool hasTabs = false;         ///< whether the header has symbols for all sections
    QStringList openDevices;      ///< ids of the sensor devices whose inputs are shown
};

} // namespace kestrum
