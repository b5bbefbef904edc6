// SPDX-License-Identifier: MIT
#include "KestrumAgent/Readings/Sampler.h"

#include <algorithm>
#include <cmath>

namespace kestrum {
namespace {

QList<MonitorSection> shownSections(const SettingsSnapshot& settings)
{
    QList<MonitorSection> shown;
    for (const auto& entry : allCases<MonitorSection>()) {
        if (MeterSettings::isShown(entry.value, settings))
            shown.append(entry.value);
    }
    return shown;
}

} // namespace

Sampler::Sampler(QObject* parent, const QString& root)
    : QObject(parent)
    , m_readings(std::make_shared<LiveReadings>(root))
{
    // A coarse timer can fire together with timers of other programs, which saves wake-ups.
    m_timer.setTimerType(Qt::CoarseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Sampler::sample);
    connect(&m_bell, &Bell::rung, this, [this] {
        m_readings->collect();
        Q_EMIT completed();
    });
}

void Sampler::adoptSettings()
{
    adopt(false);
}

void Sampler::setPopover(std::optional<MonitorSection> section)
{
    if (section != std::exchange(m_popover, section))
        adopt(section.has_value());
}

void Sampler::adopt(bool isOpening)
{
    const Appearance appearance = Appearance::current();
    WantedReadings wanted = WantedReadings::of(shownSections(appearance.settings), appearance);
    if (m_popover)
        wanted = wanted | WantedReadings::ofPopover(*m_popover, appearance);
    const auto interval = Sampler::interval(appearance.value(Keys::refreshInterval));
    const WantedReadings before = std::exchange(m_wanted, wanted);
    const bool isOtherInterval = interval != std::exchange(m_interval, interval);
    const bool readsMore = (before & wanted) != wanted;
    if (wanted == WantedReadings()) {
        m_timer.stop();
        if (before != wanted) {
            m_readings->sample(wanted); // reads nothing, but pauses the readings that need two samples
            Q_EMIT paused();
        }
    } else if (readsMore || (isOpening && interval >= longInterval)) {
        m_awaited = isOpening ? 2 : 0;
        sample();
        m_timer.start(std::min(secondSample, interval));
    } else if (isOtherInterval) {
        m_timer.start(interval);
    }
}

std::chrono::milliseconds Sampler::interval(double seconds)
{
    static constexpr double day = 24 * 60 * 60;
    if (!std::isfinite(seconds) || seconds <= 0)
        seconds = Keys::refreshInterval.factoryDefault;
    const std::chrono::milliseconds chosen(std::llround(std::min(seconds, day) * 1000));
    return std::max(chosen, shortestInterval);
}

void Sampler::sample()
{
    if (m_timer.isActive() && m_timer.intervalAsDuration() != m_interval)
        m_timer.setInterval(m_interval);
    const bool isAwaited = m_interval >= longInterval || m_awaited > 0;
    m_awaited = std::max(m_awaited - 1, 0);
    m_readings->sample(m_wanted, isAwaited ? m_bell.rope() : std::function<void()>());
    Q_EMIT sampled();
}

} // namespace kestrum
