#pragma once

#include "Platform/Desktop/PanelAddition.h"
#include "tests/Support/DesktopShells.h"
#include "tests/Support/Programs.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/Text.h"

#include <QTest>
#include <memory>
#include <optional>

namespace kestrum {

/// Stand-ins for the desktop's programs, and an empty data directory, for each test of a panel's part.
class PanelAdditionFixture : public QObject {
    Q_OBJECT
    using Presence = PanelAddition::Presence;
    using Effect = PanelAddition::Effect;

protected:
    /// What a call answers, in one line.
    template <class Call> static QString answerOf(Call&& call)
    {
        std::optional<QString> answer;
        call(answer);
        return QTest::qWaitFor([&] { return answer.has_value(); }, Programs::patience) ? *answer
                                                                                       : text("no answer");
    }

    static QString looked(PanelAddition& part)
    {
        return answerOf([&](std::optional<QString>& answer) {
            part.look([&](const Result<PanelAddition::State>& state) {
                static const QMap<Presence, QString> names { { Presence::unneeded, text("unneeded") },
                    { Presence::uninstalled, text("uninstalled") }, { Presence::missing, text("missing") },
                    { Presence::added, text("added") } };
                answer = state ? names[state->presence] + (state->isPending ? text(", pending") : QString())
                        + (state->obstacle.isEmpty() ? QString() : text("; ") + state->obstacle)
                               : text("failed: ") + state.failureText();
            });
        });
    }

    static QString changed(PanelAddition& part, void (PanelAddition::*change)(PanelAddition::Changed))
    {
        return answerOf([&](std::optional<QString>& answer) {
            (part.*change)([&](const Result<Effect>& effect) {
                answer = !effect             ? text("failed: ") + effect.failureText()
                    : *effect == Effect::now ? text("now")
                                             : text("at the next login");
            });
        });
    }

    std::unique_ptr<DesktopTools> m_tools;
    std::unique_ptr<SessionBus> m_bus;

    static std::unique_ptr<PanelAddition> part(const char* desktop)
    {
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        return PanelAddition::ofDesktop();
    }
    void startBus()
    {
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
    }
    static QString add(PanelAddition& part) { return changed(part, &PanelAddition::add); }
    static QString remove(PanelAddition& part) { return changed(part, &PanelAddition::remove); }

private Q_SLOTS:
    void init()
    {
        qputenv("XDG_DATA_DIRS", "/nonexistent");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        qunsetenv("XDG_SESSION_TYPE");
        m_tools = std::make_unique<DesktopTools>();
        m_tools->set("org.gnome.shell", "enabled-extensions", "@as []");
        m_tools->set("org.gnome.shell", "disabled-extensions", "@as []");
        m_tools->set("org.gnome.shell", "disable-user-extensions", "false");
    }
    void cleanup()
    {
        DesktopTools::clear();
        m_tools.reset();
        m_bus.reset();
    }
};

} // namespace kestrum
