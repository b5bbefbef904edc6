// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/PanelChannels.h"

#include "KestrumAgent/Panel/DockChannel.h"
#include "KestrumAgent/Panel/EmbedChannel.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Panel/TrayChannel.h"
#include "KestrumShared/Agent/PanelContract.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Desktop/DesktopName.h"
#include "Platform/Log/Log.h"

#include <QGuiApplication>
#include <chrono>
#include <utility>

#ifdef KESTRUM_LAYER_SHELL
#include "KestrumAgent/Panel/LayerChannel.h"
#endif

namespace kestrum {

namespace {

using namespace std::chrono_literals;

/// A desktop that has just begun may need so long until its panel has started its bridge.
constexpr auto bridgePatience = 5s;
/// A bus that does not answer must not keep the items away.
constexpr auto iconsPatience = 500ms;
/// A panel announces its parts one after the other: the best of them is taken, without a change between.
constexpr auto delayOfGain = 250ms;
/// A panel that starts again is gone for a moment. The strip is not to flash over the desktop meanwhile.
constexpr auto delayOfLoss = 800ms;

/// An area that lets the strip go so often, soon after it has taken it in, does not want it. Panels also let all icons go and ask
/// for them again when they are arranged anew.
constexpr int mostReleases = 3;
constexpr auto soon = 2s;

/// The delay before the log reports missing status icons: at the start of a session, the panel may appear a little later.
constexpr auto delayBeforeTelling = 2s;

bool isWayland()
{
    return QGuiApplication::platformName().startsWith(QLatin1StringView("wayland"));
}

/// Whether the items can be layers of a Wayland desktop. KDE's panel would not leave room for them, and has status icons.
bool hasLayers()
{
#ifdef KESTRUM_LAYER_SHELL
    return !isDesktop(QLatin1StringView("kde")) && LayerSurface::isSupported();
#else
    return false;
#endif
}

} // namespace

PanelChannels::PanelChannels(PanelStrip& strip, QMenu& menu, QObject* parent)
    : QObject(parent)
    , m_strip(strip)
    , m_menu(menu)
{
    for (QTimer* timer : { &m_bridgeWait, &m_iconsWait, &m_change })
        timer->setSingleShot(true);
    connect(&m_bridgeWait, &QTimer::timeout, this, [this] {
        Q_EMIT bridgeMissed();
        look();
    });
    connect(&m_iconsWait, &QTimer::timeout, this, &PanelChannels::look);
    connect(&m_change, &QTimer::timeout, this, &PanelChannels::adopt);
    // Not from within the event, because windows go.
    connect(
        &m_area, &NotificationArea::changed, this,
        [this] {
            m_releases = 0;
            // A channel within an area that is gone shows nothing any longer.
            if (m_way == Way::notificationArea)
                drop();
            askAreaAgain();
        },
        Qt::QueuedConnection);
    connect(&m_area, &NotificationArea::heightChanged, this, &PanelChannels::askAreaAgain);
    connect(&m_icons, &StatusIcons::widthsChanged, this, &PanelChannels::askAreaAgain);
    connect(&m_strip, &PanelStrip::rebuilt, this, [this] {
        if (!m_strip.isEmpty() && m_strip.sizeHint().width() <= m_refusedWidth)
            askAreaAgain();
    });
    SharedSettings::store().observe(Keys::names(Keys::stripScreens), this, [this] { adoptScreens(); });
    connect(&m_icons, &StatusIcons::changed, this, [this] {
        if (m_icons.isKnown())
            m_iconsWait.stop();
        look();
    });
}

PanelChannels::~PanelChannels() = default;

void PanelChannels::start(bool isBridgeExpected)
{
    m_isStarted = true;
    QTimer::singleShot(delayBeforeTelling, this, [this] {
        if (best() == Way::nothing && !m_isBridged && !m_bridgeWait.isActive())
            Log::info("agent",
                QStringLiteral(
                    "this desktop has neither a place for items at its panel nor for status icons"));
    });
    if (isBridgeExpected)
        m_bridgeWait.start(bridgePatience);
    if (!m_icons.isKnown())
        m_iconsWait.start(iconsPatience);
    look();
}

void PanelChannels::expectNoBridge()
{
    if (!m_bridgeWait.isActive())
        return;
    m_bridgeWait.stop();
    look();
}

void PanelChannels::setBridged(bool isBridged)
{
    if (std::exchange(m_isBridged, isBridged) == isBridged)
        return;
    m_bridgeWait.stop();
    if (!isBridged)
        m_change.start(delayOfLoss);
    look();
}

QString PanelChannels::shownBy() const
{
    switch (m_channel ? m_way : Way::nothing) {
    case Way::notificationArea:
        return PanelContract::notificationArea;
    case Way::statusIcon:
        return PanelContract::statusIcon;
    case Way::strip:
        return PanelContract::strip;
    case Way::nothing:
        break;
    }
    return PanelContract::nothing;
}

PanelChannels::Way PanelChannels::best() const
{
    if (!m_isStarted || m_isBridged || m_bridgeWait.isActive())
        return Way::nothing;
    if (m_area.window() && m_area.window() != m_refused && !NotificationArea::isMisleading())
        return Way::notificationArea;
    if (isWayland() && hasLayers())
        return Way::strip;
    if (m_iconsWait.isActive())
        return Way::nothing;
    if (m_icons.areShown() || m_area.window())
        return Way::statusIcon;
    return isWayland() ? Way::nothing : Way::strip;
}

/// Looks at the desktop, and takes the best way: at once if a bridge has come or nothing was shown yet, else soon.
void PanelChannels::look()
{
    const Way best = this->best();
    if (isAdopted(best)) {
        m_change.stop();
        return;
    }
    if (m_isBridged || (m_way == Way::nothing && !m_change.isActive())) {
        adopt();
        return;
    }
    const bool isLoss = best > m_way || best == Way::nothing;
    const std::chrono::milliseconds delay = isLoss ? delayOfLoss : delayOfGain;
    if (!m_change.isActive() || m_change.remainingTimeAsDuration() > delay)
        m_change.start(delay);
}

void PanelChannels::adopt()
{
    m_change.stop();
    const Way best = this->best();
    if (isAdopted(best))
        return;
    drop();
    m_way = best;
    m_channel = made(best);
    if (m_channel)
        Q_EMIT standChanged(stand());
    adoptScreens();
}

void PanelChannels::drop()
{
    m_further.reset();
    const std::unique_ptr<PanelChannel> leaving = std::move(m_channel);
    if (leaving)
        Q_EMIT standChanged(nullptr);
}

/// Shows a strip on the other screens too, if the user wants that, or on none of them.
void PanelChannels::adoptScreens()
{
    const bool isWanted = m_channel && m_way == Way::strip
        && Setting(Keys::stripScreens, QString()).value() == QLatin1StringView("all");
    if (isWanted == bool(m_further))
        return;
    m_further.reset();
    if (!isWanted)
        return;
    m_further = std::make_unique<FurtherStrips>(
        m_strip, [this](PanelStrip& strip, QScreen& screen) { return madeFurther(strip, screen); });
    connect(m_further.get(), &FurtherStrips::itemClicked, this, &PanelChannels::itemClicked);
    connect(m_further.get(), &FurtherStrips::standLeft, this, &PanelChannels::standLeft);
}

std::unique_ptr<PanelChannel> PanelChannels::madeFurther(PanelStrip& strip, QScreen& screen)
{
#ifdef KESTRUM_LAYER_SHELL
    if (isWayland())
        return std::make_unique<LayerChannel>(strip, m_menu, &screen);
#endif
    return std::make_unique<DockChannel>(strip, m_menu, &screen);
}

void PanelChannels::askAreaAgain()
{
    m_refused = 0;
    m_refusedWidth = 0;
    look();
}

/// The area does not show the strip, though it is there: it is not asked again until something is different.
void PanelChannels::refuseArea(double width)
{
    m_refused = m_area.window();
    m_refusedWidth = width;
}

/// Shows the strip elsewhere, or in the area again, after a while.
void PanelChannels::leaveArea(std::chrono::milliseconds delay)
{
    drop();
    m_change.start(delay);
}

std::unique_ptr<PanelChannel> PanelChannels::madeTray()
{
    const auto ground = [this] { return m_area.window() ? m_area.look().scheme : std::nullopt; };
    auto channel = std::make_unique<TrayChannel>(m_strip, m_menu, ground());
    const auto adoptGround = [ground, tray = channel.get()] { tray->setGround(ground()); };
    connect(&m_area, &NotificationArea::lookChanged, channel.get(), adoptGround);
    connect(&m_area, &NotificationArea::changed, channel.get(), adoptGround);
    return channel;
}

std::unique_ptr<PanelChannel> PanelChannels::made(Way way)
{
    switch (way) {
    case Way::nothing:
        return nullptr;
    case Way::notificationArea: {
        auto channel = std::make_unique<EmbedChannel>(m_strip, m_menu, m_area);
        m_areaTime.start();
        // Not from within the signals, whose sender goes.
        connect(
            channel.get(), &EmbedChannel::refused, this,
            [this](double width) {
                Log::info("agent", QStringLiteral("the panel has no room for the items among its icons"));
                refuseArea(width);
                leaveArea(0ms);
            },
            Qt::QueuedConnection);
        connect(
            channel.get(), &EmbedChannel::released, this,
            [this] {
                if (m_areaTime.hasExpired(std::chrono::milliseconds(soon).count()))
                    m_releases = 0;
                if (++m_releases == mostReleases)
                    refuseArea(0);
                leaveArea(delayOfLoss);
            },
            Qt::QueuedConnection);
        return channel;
    }
    case Way::statusIcon:
        Log::info("agent",
            QStringLiteral(
                "this desktop has no place for items at its panel: a status icon stands for them"));
        return madeTray();
    case Way::strip:
        break;
    }
#ifdef KESTRUM_LAYER_SHELL
    if (isWayland())
        return std::make_unique<LayerChannel>(m_strip, m_menu);
#endif
    return std::make_unique<DockChannel>(m_strip, m_menu);
}

} // namespace kestrum
