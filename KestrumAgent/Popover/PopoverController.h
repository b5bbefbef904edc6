// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Popover/SystemMonitorApp.h"
#include "KestrumShared/Popover/PopoverState.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QDeadlineTimer>
#include <QObject>
#include <chrono>
#include <memory>
#include <optional>

namespace kestrum {

class PanelStrip;
class PopoverSource;
class PopoverStand;
class PopoverWindow;
class SessionPause;
struct PanelAction;
struct PanelEnvironment;

/// Opens and closes the popovers of a strip's items. At most one is open: the window's content changes when the user turns to
/// another item. The window exists only while a popover is open.
class PopoverController final : public QObject {
    Q_OBJECT
public:
    /// How long `open` waits for a home.
    static constexpr std::chrono::milliseconds longestWait { 10'000 };

    /// Both must outlive the controller.
    PopoverController(PanelStrip& strip, PopoverSource& source, QObject* parent = nullptr);
    /// With another limit in place of `longestWait`.
    PopoverController(PanelStrip& strip, PopoverSource& source, std::chrono::milliseconds wait);
    ~PopoverController() override;

    /// Where popovers are shown unless `open` names another place; null for nowhere. The stand must live until it is `left` or
    /// replaced. A popover that is open at the former one is closed.
    void setHome(PopoverStand* home);
    /// Closes the popover if it is open at `stand`, which is about to go or has asked for it.
    void leave(PopoverStand& stand);

    /// Opens the popover of `section`, or turns the open one to it, and gives it the keyboard. While nobody shows popovers, it is
    /// opened as soon as somebody does, but only if that is within `longestWait`. Does nothing if the section has no item.
    void open(MonitorSection section);
    /// The same at another place than the usual one. A popover that is open elsewhere is closed. The stand must live until `leave`.
    void open(MonitorSection section, PopoverStand& stand);
    void close();
    /// Closes the popover if it is `section`'s, else opens it.
    void toggle(MonitorSection section);
    /// The same at another place than the usual one. If the section's popover is open elsewhere, it comes to this place.
    void toggleAt(PopoverStand& stand, MonitorSection section);

    /// The section whose popover is open.
    std::optional<MonitorSection> section() const { return m_section; }
    const PopoverState& state() const { return m_state; }
    /// The window of the open popover; null while none is open.
    PopoverWindow* window() const { return m_window.get(); }
    /// Where it is shown; null while none is open.
    PopoverStand* stand() const { return m_stand; }

    /// The program that the list of apps leads to, as it was found when the popover opened or the pointer came near.
    SystemMonitorApp& systemMonitor() { return m_systemMonitor; }

    /// How popovers look by the present settings. `isTranslucent` says whether the desktop shows what is behind a window.
    static PanelEnvironment environment(bool isTranslucent);

Q_SIGNALS:
    void settingsRequested();
    /// The user wants `systemMonitor`.
    void systemMonitorRequested();

private:
    PanelStrip& strip() const;
    void act(const PanelAction& action);
    void follow(PopoverStand& stand);
    void toggleSeen();
    void stepBy(int step);
    void requestMenu();
    void prepare(MonitorSection section);
    void lookForSystemMonitor();
    void refresh();

    PanelStrip& m_strip;
    PopoverStand* m_home = nullptr;
    PopoverStand* m_stand = nullptr; ///< where the open popover is shown; null while none is open
    PopoverSource& m_source;
    std::optional<MonitorSection> m_section;
    std::optional<MonitorSection> m_awaited; ///< to be opened at the next home
    QDeadlineTimer m_awaitedUntil;
    std::chrono::milliseconds m_wait = longestWait;
    bool m_isTranslucent = false;
    std::optional<MonitorSection> m_lastSeen;
    PopoverState m_state;
    std::unique_ptr<PopoverWindow> m_window;
    std::unique_ptr<SessionPause> m_pause;     ///< from the first opening on
    QMetaObject::Connection m_stripConnection; ///< to the open popover's own strip, if it has one
    SystemMonitorApp m_systemMonitor;
    bool m_hasFonts = false;
    QDeadlineTimer m_look; ///< while it runs, `m_systemMonitor` has just looked
};

} // namespace kestrum
