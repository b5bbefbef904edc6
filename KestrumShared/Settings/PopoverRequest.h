// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SharedSettings.h"

namespace kestrum {

/// What the agent can be asked by a notification: to open the popover of a section, or to close the open one. Desktops' own
/// key shortcuts can so open popovers. These notifications are no `SharedSettings::Signal`: only the agent hears them.
enum class PopoverRequest { cpu, memory, storage, sensors, close };

template <> struct Enumeration<PopoverRequest> {
    static constexpr EnumerationCase<PopoverRequest> cases[] = {
        { PopoverRequest::cpu, "cpu", nullptr },
        { PopoverRequest::memory, "memory", nullptr },
        { PopoverRequest::storage, "storage", nullptr },
        { PopoverRequest::sensors, "sensors", nullptr },
        { PopoverRequest::close, "close", nullptr },
    };
};

/// The notification's full name.
inline QString notificationName(PopoverRequest request)
{
    return SharedSettings::suiteName() + QStringLiteral(".popover.") + rawValue(request);
}

} // namespace kestrum
