#pragma once

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Panel/PopoverStand.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "KestrumAgent/Popover/PopoverSource.h"
#include "KestrumAgent/Popover/PopoverWindow.h"
#include "tests/Support/DrawingFixture.h"

#include <QStringList>
#include <memory>

namespace kestrum {

/// Readings that a test sets, and what their source was told.
class NotedSource final : public PopoverSource {
public:
    QStringList told;
    bool isHeld = false;
    PopoverReadings values;

    const PopoverReadings& readings() const override { return values; }
    void opened(MonitorSection section) override
    {
        told.append(QStringLiteral("opened ") + rawValue(section));
    }
    void closed() override { told.append(QStringLiteral("closed")); }
    void approached(MonitorSection section) override
    {
        told.append(QStringLiteral("approached ") + rawValue(section));
    }
    void resetHighest() override { told.append(QStringLiteral("reset")); }
    void setListHeld(bool now) override { isHeld = now; }
};

/// Shows windows anywhere, and knows what it was told.
class NotedStand final : public PopoverStand {
public:
    QWidget* window = nullptr;
    QRect item;
    bool isPinned = false;
    bool isTray = false;
    int takes = 0; ///< of the keyboard
    PanelStrip* ownStrip = nullptr;

    void show(QWidget& shown, QSize size, const QRect& beside) override
    {
        window = &shown;
        item = beside;
        shown.setFixedSize(size);
        shown.show();
    }
    void hide() override
    {
        if (window)
            window->hide();
        window = nullptr;
        isPinned = false;
    }
    void takeKeyboard() override { ++takes; }
    void setPinned(bool now) override { isPinned = now; }
    int room() const override { return 500; }
    PanelStrip* strip() const override { return ownStrip; }
    bool isWithoutStrip() const override { return isTray; }
};

/// A strip with its popovers.
struct Desk {
    std::shared_ptr<FakeReadings> readings = std::make_shared<FakeReadings>();
    PanelStrip strip { readings };
    NotedStand stand;
    NotedSource source;
    PopoverController popovers { strip, source };

    Desk() { popovers.setHome(&stand); }

    QRect place(MonitorSection section) const
    {
        return strip.place(*strip.items().item(section)).toAlignedRect();
    }
    /// The middle of the element that does this, in the open popover; (-1, -1) without one.
    QPointF placeOf(PanelAction::Kind kind) const
    {
        QPointF found(-1, -1);
        popovers.window()->layout().visit([&](const PopoverLayout::Path& path, const PanelElement& element) {
            if (element.action.kind == kind)
                found = popovers.window()->rectOf(path).center();
        });
        return found;
    }
    void act(PanelAction::Kind kind, const QString& argument = {})
    {
        Q_EMIT popovers.window()->acted({ kind, argument });
    }
};

} // namespace kestrum
