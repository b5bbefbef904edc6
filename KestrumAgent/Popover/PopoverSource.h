// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QObject>

namespace kestrum {

/// Where popovers get their readings from. `PopoverController` reports what the user does; the source reads only what an
/// open popover shows. Main thread only. No call may wait for the kernel, the bus or another thread.
class PopoverSource : public QObject {
    Q_OBJECT
public:
    /// The latest readings. The reference stays valid; the values change only just before `changed`.
    virtual const PopoverReadings& readings() const = 0;

    /// The popover of `section` is about to be shown, or takes the place of another one without `closed` in between. What
    /// is known already should be in `readings` when the call returns.
    virtual void opened(MonitorSection section) = 0;
    /// No popover is open any more.
    virtual void closed() = 0;
    /// The pointer has come to the section's item, so the user may open its popover soon. Can be called often.
    virtual void approached(MonitorSection section) = 0;

    /// Forgets the highest temperatures and fan speeds.
    virtual void resetHighest() = 0;
    /// While `isHeld`, the rows of lists keep their places and only their numbers change: the pointer is over the open
    /// popover's rows, or one of them has the focus.
    virtual void setListHeld(bool isHeld) = 0;

Q_SIGNALS:
    /// `readings` has new values of the open popover's section.
    void changed();

protected:
    using QObject::QObject;
};

} // namespace kestrum
