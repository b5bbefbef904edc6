// SPDX-License-Identifier: MIT
#pragma once

#include <QCursor>
#include <QElapsedTimer>
#include <QPoint>
#include <chrono>
#include <utility>

namespace kestrum {

/// Tells whether a press of what stands for the strip is the one that has just dismissed the popover. Such a press takes the focus
/// from the window first, which closes it, and must not open it again.
class PressMemory {
public:
    /// Within this time, the loss of the focus and the request that follows can be one act of the user.
    static constexpr std::chrono::milliseconds oneAct { 500 };

    /// To be called when the window is dismissed.
    void remember()
    {
        m_since.start();
        m_place = QCursor::pos();
    }
    /// To be called at a press. What was remembered counts for one press only.
    bool isSameAct()
    {
        const bool isSoon = m_since.isValid() && !m_since.hasExpired(oneAct.count());
        m_since.invalidate();
        // Whoever has pressed elsewhere has moved the pointer since. Where the pointer's place is not known, it stays the same.
        return isSoon && (QCursor::pos() - m_place).manhattanLength() <= farthest;
    }

private:
    static constexpr int farthest = 16; ///< points that a hand moves in a press

    QElapsedTimer m_since;
    QPoint m_place;
};

} // namespace kestrum
