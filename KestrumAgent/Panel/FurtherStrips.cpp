// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/FurtherStrips.h"

#include "KestrumAgent/Panel/PanelChannel.h"
#include "KestrumAgent/Panel/PanelStrip.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <chrono>

namespace kestrum {

namespace {

qint64 area(const QScreen& screen)
{
    return qint64(screen.geometry().width()) * screen.geometry().height();
}

} // namespace

/// The channel goes before its strip.
struct FurtherStrips::Further {
    QScreen* screen;
    std::unique_ptr<PanelStrip> strip;
    std::unique_ptr<PanelChannel> channel;
};

FurtherStrips::FurtherStrips(PanelStrip& main, Maker maker)
    : m_main(main)
    , m_maker(std::move(maker))
{
    // Screens come and go one by one, and the main one may be another in between.
    m_look.setSingleShot(true);
    m_look.setInterval(std::chrono::milliseconds(0));
    connect(&m_look, &QTimer::timeout, this, &FurtherStrips::look);
    const auto follow = [this](const QScreen* screen) {
        connect(screen, &QScreen::geometryChanged, &m_look, qOverload<>(&QTimer::start));
    };
    for (const QScreen* screen : QGuiApplication::screens())
        follow(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this, follow](const QScreen* screen) {
        follow(screen);
        m_look.start();
    });
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, &m_look, qOverload<>(&QTimer::start));
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this](const QScreen* gone) {
        for (auto further = m_all.begin(); further != m_all.end(); ++further) {
            if (further->screen == gone) {
                drop(further);
                break;
            }
        }
        m_look.start();
    });
    look();
}

FurtherStrips::~FurtherStrips()
{
    while (!m_all.empty())
        drop(m_all.begin());
}

void FurtherStrips::look()
{
    // The main screen, which is the first one, has its strip. Of mirrored ones, the largest shows all.
    QList<QScreen*> screens = QGuiApplication::screens();
    if (!screens.isEmpty())
        std::stable_sort(screens.begin() + 1, screens.end(),
            [](const QScreen* a, const QScreen* b) { return area(*a) > area(*b); });
    QList<QScreen*> wanted;
    for (QScreen* screen : screens) {
        const bool isShown = std::any_of(wanted.begin(), wanted.end(),
            [screen](const QScreen* other) { return other->geometry().contains(screen->geometry()); });
        // The toolkit's placeholder for a missing screen has no name.
        if (!isShown && !screen->name().isEmpty())
            wanted.append(screen);
    }
    wanted.removeOne(QGuiApplication::primaryScreen());
    for (auto further = m_all.begin(); further != m_all.end();) {
        const auto each = further++;
        if (!wanted.removeOne(each->screen))
            drop(each);
    }
    for (QScreen* screen : wanted)
        add(*screen);
}

void FurtherStrips::add(QScreen& screen)
{
    Further& further = m_all.emplace_back();
    further.screen = &screen;
    further.strip = std::make_unique<PanelStrip>(m_main.readings());
    further.strip->setAccessibleName(screen.name());
    further.channel = m_maker(*further.strip, screen);
    PanelStrip* strip = further.strip.get();
    connect(&m_main, &PanelStrip::redrawn, strip, &PanelStrip::redraw);
    connect(&m_main, &PanelStrip::rebuilt, strip, &PanelStrip::rebuild);
    connect(strip, &PanelStrip::itemApproached, &m_main, &PanelStrip::itemApproached);
    connect(strip, &PanelStrip::itemClicked, this,
        [this, stand = &further.channel->popoverStand()](
            MonitorSection section) { Q_EMIT itemClicked(section, stand); });
}

void FurtherStrips::drop(std::list<Further>::iterator further)
{
    Q_EMIT standLeft(&further->channel->popoverStand());
    m_all.erase(further);
}

} // namespace kestrum
