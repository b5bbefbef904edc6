#include "Platform/Processes/LaunchPoller.h"

#include <iterator>
#include <utility>

namespace kestrum {

namespace {

using std::chrono::milliseconds;

// After the opening. A program usually runs after less than a millisecond; the last look is for one that has to come
// from a slow disk first.
constexpr milliseconds looks[] { milliseconds(0), milliseconds(1), milliseconds(5), milliseconds(50),
    milliseconds(500) };

// Enough for a dozen starts in a row among some hundred processes.
constexpr milliseconds savedForStarts { 20 };

} // namespace

LaunchPoller::LaunchPoller(std::function<void()> look)
    : m_look(std::move(look))
    , m_allowance(savedForStarts, std::chrono::steady_clock::now())
    , m_restsUntil(std::chrono::steady_clock::now())
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { proceed(); });
}

void LaunchPoller::begin()
{
    m_next = 0;
    waitFor(looks[0]);
}

void LaunchPoller::proceed()
{
    const auto before = RateLimiter::processorTime();
    m_look();
    const auto now = std::chrono::steady_clock::now();
    m_restsUntil = now + m_allowance.spend(RateLimiter::processorTime() - before, now);
    if (++m_next < std::ssize(looks))
        waitFor(looks[m_next] - looks[m_next - 1]);
}

void LaunchPoller::waitFor(milliseconds pause)
{
    const auto rest = std::chrono::ceil<milliseconds>(m_restsUntil - std::chrono::steady_clock::now());
    m_timer.start(std::max(pause, rest));
}

} // namespace kestrum
