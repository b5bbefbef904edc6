// SPDX-License-Identifier: MIT
#include "Platform/Machine/KernelValues.h"

#include "Platform/Machine/KernelFile.h"
#include "Platform/Machine/KernelText.h"

#include <QDir>
#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <unistd.h>
#include <vector>

// A level is a group of cores with the same performance. The kernel lists the cores of each kind ("cpu_core",
// "cpu_atom"), or it reports a capacity for every core; then the cores with the same capacity form a level. If the kernel
// reports neither, or only one group, the cores are all alike and there are no levels. Offline cores are not counted, and
// a level without an online core is left out.

namespace kestrum {
namespace {

// The largest accepted processor number. The kernel can be built for 8192 processors.
constexpr int maximumCpu = 8191;

std::optional<QByteArray> content(const QString& path)
{
    KernelFile file(path);
    const auto text = file.read();
    return text ? std::optional(QByteArray(text->data(), qsizetype(text->size())).trimmed()) : std::nullopt;
}

std::optional<int> wholeNumber(const QByteArray& text, int maximum)
{
    // The type is unsigned, because the kernel never writes a sign.
    const auto number = KernelText::wholeNumber<quint32>({ text.constData(), size_t(text.size()) });
    return number && *number <= quint32(maximum) ? std::optional(int(*number)) : std::nullopt;
}

using Cpus = std::vector<bool>;

// Parses the kernel's list of processors, such as "0-3,8,10-11". An empty text gives the empty set. A missing or
// malformed text gives nothing.
std::optional<Cpus> cpuList(const std::optional<QByteArray>& text)
{
    if (!text)
        return std::nullopt;
    Cpus result;
    if (text->isEmpty())
        return result;
    for (const QByteArray& range : text->split(',')) {
        const qsizetype dash = range.indexOf('-');
        const auto first = wholeNumber(dash < 0 ? range : range.left(dash), maximumCpu);
        const auto last = dash < 0 ? first : wholeNumber(range.mid(dash + 1), maximumCpu);
        if (!first || !last || *last < *first)
            return std::nullopt;
        result.resize(std::max(result.size(), size_t(*last) + 1));
        std::fill(result.begin() + *first, result.begin() + *last + 1, true);
    }
    return result;
}

// If the list of online processors is unknown, every processor counts as online.
bool isActive(int cpu, const std::optional<Cpus>& online)
{
    return !online || (size_t(cpu) < online->size() && (*online)[size_t(cpu)]);
}

} // namespace

KernelValues::KernelValues(const QString& root)
    : m_root(root)
{
}

KernelValues::KernelValues(const Texts& texts)
    : m_online(texts.online)
    , m_levels(levelsIn(texts))
{
}

const std::optional<QByteArray>& KernelValues::online() const
{
    if (!m_online)
        m_online = content(m_root + QStringLiteral("/sys/devices/system/cpu/online"));
    return *m_online;
}

const QList<KernelValues::Level>& KernelValues::levels() const
{
    if (!m_levels)
        m_levels = levelsIn(read());
    return *m_levels;
}

KernelValues::Texts KernelValues::read() const
{
    Texts texts;
    texts.online = online();
    static constexpr std::array kinds { "cpu_core", "cpu_atom", "cpu_lowpower" };
    std::transform(kinds.begin(), kinds.end(), texts.kinds.begin(), [this](const char* kind) {
        return content(QStringLiteral("%1/sys/devices/%2/cpus").arg(m_root, QLatin1StringView(kind)));
    });
    // A machine can have hundreds of files about capacities.
    if (std::any_of(
            texts.kinds.begin(), texts.kinds.end(), [](const auto& kind) { return kind.has_value(); }))
        return texts;
    const QString cpuFolder = m_root + QStringLiteral("/sys/devices/system/cpu/");
    // A pattern for `entryList` would need regular expressions at every start, so the names are compared here.
    static constexpr QLatin1StringView prefix("cpu");
    for (const QString& name : QDir(cpuFolder).entryList(QDir::Dirs)) {
        const auto cpu = name.startsWith(prefix) ? wholeNumber(name.mid(prefix.size()).toLatin1(), maximumCpu)
                                                 : std::nullopt;
        const auto capacity
            = cpu ? content(cpuFolder + name + QStringLiteral("/cpu_capacity")) : std::nullopt;
        if (capacity)
            texts.capacities.emplace(*cpu, *capacity);
    }
    return texts;
}

QList<KernelValues::Level> KernelValues::levelsIn(const Texts& texts)
{
    const auto online = cpuList(texts.online);
    QList<Level> result;

    for (const auto& text : texts.kinds) {
        if (!text)
            continue;
        Level level;
        if (auto cpus = cpuList(text)) {
            for (size_t cpu = 0; cpu < cpus->size(); ++cpu) {
                if ((*cpus)[cpu] && isActive(int(cpu), online))
                    level.processors.append(int(cpu));
            }
            level.logicalCpus = int(level.processors.size());
        }
        if (level.logicalCpus != 0)
            result.append(level);
    }

    if (result.isEmpty()) {
        std::map<int, QList<int>, std::greater<>> cpusByCapacity;
        for (const auto& [cpu, text] : texts.capacities) {
            const auto capacity
                = isActive(cpu, online) ? wholeNumber(text, std::numeric_limits<int>::max()) : std::nullopt;
            if (capacity)
                cpusByCapacity[*capacity].append(cpu);
        }
        for (const auto& [capacity, cpus] : cpusByCapacity)
            result.append(Level { int(cpus.size()), {}, cpus });
    }

    if (result.size() < 2)
        return {};
    // The levels between the first and the last one have no name.
    result.first().name = "Performance";
    result.last().name = "Efficiency";
    return result;
}

QList<QList<int>> KernelValues::levelProcessors() const
{
    QList<QList<int>> result;
    for (const Level& level : levels())
        result.append(level.processors);
    return result;
}

std::optional<KernelValues::Value> KernelValues::levelValue(const QByteArray& name) const
{
    static const QByteArray prefix = "hw.perflevel";
    const qsizetype dot = name.indexOf('.', prefix.size());
    if (!name.startsWith(prefix) || dot < 0)
        return std::nullopt;
    const auto index = wholeNumber(name.mid(prefix.size(), dot - prefix.size()), maximumCpu);
    const QList<Level>& all = levels();
    if (!index || *index >= all.size())
        return std::nullopt;
    return Value { all.at(*index), name.mid(dot + 1) };
}

std::optional<qint64> KernelValues::integer(const QByteArray& name) const
{
    if (name == "hw.nperflevels") {
        const auto number = levels().size();
        return number > 0 ? std::optional<qint64>(number) : std::nullopt;
    }
    const auto value = levelValue(name);
    if (!value || value->property != "logicalcpu")
        return std::nullopt;
    return value->level.logicalCpus;
}

std::optional<QByteArray> KernelValues::text(const QByteArray& name) const
{
    const auto value = levelValue(name);
    if (!value || value->property != "name" || value->level.name.isEmpty())
        return std::nullopt;
    return value->level.name;
}

int KernelValues::activeProcessorCount() const
{
    const auto cpus = cpuList(online());
    const auto listed = cpus ? std::count(cpus->begin(), cpus->end(), true) : 0;
    return int(listed > 0 ? listed : std::max(1L, ::sysconf(_SC_NPROCESSORS_ONLN)));
}

} // namespace kestrum
