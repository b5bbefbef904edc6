// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/DayDesk.h"

#include <functional>
#include <vector>

namespace kestrum {

class StormWriter;

/// Something that can be taken away from the programs of a `DayDesk`, and given back.
struct DayTrouble {
    /// What a trouble concerns. Two troubles at a time have no kind in common. `lives`: it ends agent or window.
    enum Kind { programs = 1, bus = 2, store = 4, watches = 8, machine = 16, lives = 32 };

    const char* name;
    int kinds;
    std::function<void()> take;
    std::function<void()> give;
    int times = 0;
};

/// The settings directory as a file system of its own, with 512 KiB of room. Needs a mount name space of its own.
class StoreMount {
public:
    StoreMount();
    ~StoreMount();
    Q_DISABLE_COPY_MOVE(StoreMount)

    bool isUp() const { return m_isUp; }

    void unmount() const;
    void mountAgain() const;
    void setReadOnly(bool isReadOnly) const;
    void fill() const;
    void makeRoom() const;
    /// Moves the folder of all programs' settings, with this one in it, to another place and back.
    void moveAway() const;
    void moveBack() const;

private:
    QByteArray m_origin;
    QByteArray m_place;
    QByteArray m_above;
    bool m_isUp = false;
};

/// All troubles that this machine allows. `hasOwnLimits`: the limits of inotify are this process's own.
std::vector<DayTrouble> dayTroubles(
    DayDesk& desk, StormWriter& writer, const StoreMount& store, bool hasOwnLimits);

} // namespace kestrum
