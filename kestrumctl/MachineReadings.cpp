// SPDX-License-Identifier: MIT
#include "kestrumctl/MachineReadings.h"

#include "KestrumShared/Items/WantedReadings.h"
#include "KestrumShared/Readings/LiveReadings.h"
#include "KestrumShared/Readings/PopoverReader.h"
#include "Platform/Log/Log.h"

#include <QEventLoop>
#include <QFileInfo>
#include <chrono>

namespace kestrum {

using std::chrono::milliseconds;

namespace {

constexpr milliseconds interval { 1000 };
constexpr int ticks = 2;
/// What slow readers answer to the last tick is shown too.
constexpr milliseconds timeForAnswers { 500 };

void wait(milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

Result<PopoverReadings> MachineReadings::taken(MonitorSection section, const QString& root)
{
    if (!QFileInfo::exists(root + QStringLiteral("/proc/stat")))
        return Failure::withReason(
            QStringLiteral("there is no machine below \"%1\": it has no proc/stat").arg(Log::escaped(root)));
    // Readers of this machine itself know more than its files tell.
    const QString path = QFileInfo(root).isRoot() ? QString() : QFileInfo(root).absoluteFilePath();
    const WantedReadings wanted = WantedReadings::ofPopover(section);
    const auto live = std::make_shared<LiveReadings>(path);
    PopoverReader reader(live, path);
    live->sample(wanted);
    reader.opened(section);
    for (int tick = 0; tick < ticks; ++tick) {
        wait(interval);
        live->sample(wanted);
        reader.sampled(wanted, interval);
    }
    wait(timeForAnswers);
    live->collect();
    reader.completed();
    return reader.readings();
}

} // namespace kestrum
