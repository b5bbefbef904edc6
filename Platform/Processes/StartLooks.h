#pragma once

#include "Platform/Files/WorkAllowance.h"

#include <QTimer>
#include <functional>

namespace kestrum {

/// The looks by which a program is found that is about to start: some right after its file was opened, and one half a
/// second later. Main thread only.
class StartLooks {
public:
    /// `look` is called from the event loop.
    explicit StartLooks(std::function<void()> look);
    Q_DISABLE_COPY_MOVE(StartLooks)

    /// The file was opened. Looks that are still to come are those after this opening from now on. However often that
    /// happens, looking takes no more of a core than answering events may (`WorkAllowance`), and the last opening is
    /// followed by all looks.
    void begin();

private:
    void proceed();
    void waitFor(std::chrono::milliseconds pause);

    std::function<void()> m_look;
    QTimer m_timer;
    WorkAllowance m_allowance;
    WorkAllowance::Instant m_restsUntil;
    qsizetype m_next = 0;
};

} // namespace kestrum
