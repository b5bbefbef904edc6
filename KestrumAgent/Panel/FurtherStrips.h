// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QObject>
#include <QTimer>
#include <functional>
#include <list>
#include <memory>

class QScreen;

namespace kestrum {

class PanelChannel;
class PanelStrip;
class PopoverStand;

/// Shows on all other screens what a strip shows on the main one, as screens come and go. Each screen has a strip and a channel of
/// its own.
class FurtherStrips final : public QObject {
    Q_OBJECT
public:
    /// Makes the channel that shows a strip on a screen.
    using Maker = std::function<std::unique_ptr<PanelChannel>(PanelStrip&, QScreen&)>;

    /// The main strip must outlive this object.
    FurtherStrips(PanelStrip& main, Maker maker);
    ~FurtherStrips() override;

Q_SIGNALS:
    /// The user has clicked an item, whose popover is to stand at `stand`.
    void itemClicked(MonitorSection section, kestrum::PopoverStand* stand);
    /// The stand is about to go.
    void standLeft(kestrum::PopoverStand* stand);

private:
    struct Further;

    void look();
    void add(QScreen& screen);
    void drop(std::list<Further>::iterator further);

    PanelStrip& m_main;
    Maker m_maker;
    std::list<Further> m_all;
    QTimer m_look;
};

} // namespace kestrum
