// SPDX-License-Identifier: MIT
#include "Platform/Machine/AppGrouping.h"

#include "Platform/Machine/ProgramName.h"

#include <QFile>
#include <algorithm>

namespace kestrum {
namespace {

// Apps and groups that are gone are not removed one by one. When there are too many, all are found anew. Each one in use has a
// process, so it never comes to that twice in a row.
constexpr std::size_t mostUnused = 256;
// Desktops move an app into its control group only after its start. This is the time after which it is there.
constexpr std::chrono::seconds youth { 2 };
constexpr quint64 youthTicks = 200; // of the clock of processes' starts
constexpr qsizetype shownIdDigits = 6;

QString decoded(const QByteArray& bytes)
{
    return QFile::decodeName(bytes);
}

} // namespace

AppGrouping::AppGrouping(const ProcessList& processes, const QStringList& dataFolders)
    : m_processes(processes)
    , m_names(dataFolders)
{
}

const std::vector<int>& AppGrouping::group(const ProcessSamples& before, const ProcessSamples& now,
    const ProcessMatch& match, const AppLanguageTexts& language, std::chrono::nanoseconds time)
{
    const bool areNamesNew = m_names.update(language.code, time);
    if (areNamesNew || m_language != language
        || std::max(m_apps.size(), m_groups.size()) > 2 * now.size() + mostUnused)
        forget();
    m_language = language;

    quint64 newestStart = 0;
    std::vector<Owner> owners(now.size());
    for (std::size_t i = 0; i < now.size(); ++i) {
        newestStart = std::max(newestStart, now[i].start);
        const auto old = std::size_t(match.before[i]);
        if (match.before[i] == ProcessMatch::none || old >= m_owners.size())
            continue;
        if (m_owners[old].youngSince) {
            owners[i].youngSince = m_owners[old].youngSince;
            continue;
        }
        const bool isSame = before[old].command == now[i].command && before[old].job == now[i].job
            && before[old].terminal == now[i].terminal;
        if (isSame)
            owners[i] = std::move(m_owners[old]);
    }
    m_owners = std::move(owners);

    for (std::size_t i = 0; i < now.size(); ++i) {
        const auto leader = leaderOf(now, i);
        if (m_owners[i].isNew || (leader && m_owners[*leader].isNew))
            find(now, i);
    }
    m_result.resize(now.size());
    for (std::size_t i = 0; i < now.size(); ++i) {
        Owner& owner = m_owners[i];
        if (owner.youngSince && time - *owner.youngSince >= youth)
            owner.youngSince.reset();
        else if (match.before[i] == ProcessMatch::none && now[i].start + youthTicks >= newestStart
            && !now[i].isKernelThread)
            owner.youngSince = time;
        owner.isNew = false;
        m_result[i] = owner.app == none ? m_groups[std::size_t(owner.group)].app : owner.app;
    }
    return m_result;
}

void AppGrouping::forget()
{
    m_owners.clear();
    m_apps.clear();
    m_appPlaces.clear();
    m_groups.clear();
    m_groupPlaces.clear();
}

// The leader of the job that was typed in a shell, for a process in a terminal. Nothing if it has ended. Some programs, such as
// builders, start jobs of their own, which are parts of the one that was typed.
std::optional<std::size_t> AppGrouping::leaderOf(const ProcessSamples& now, std::size_t place)
{
    std::optional<std::size_t> leader;
    for (int step = 0; step < ProcessList::mostAncestors && now[place].terminal != 0; ++step) {
        const auto found = now[place].job == now[place].pid ? place : ProcessList::find(now, now[place].job);
        if (!found)
            break;
        leader = found;
        const auto parent = ProcessList::find(now, now[*leader].parent);
        if (!parent || now[*parent].terminal != now[*leader].terminal
            || ProgramName::isShell(programOf(now[*parent], m_owners[*parent]).name))
            break;
        place = *parent;
    }
    return leader;
}

void AppGrouping::find(const ProcessSamples& now, std::size_t place)
{
    const ProcessSample& process = now[place];
    Owner& owner = m_owners[place];
    if (process.isKernelThread) {
        owner.app = app(QStringLiteral("kernel"), QString());
        return;
    }
    if (process.terminal != 0) {
        // Named as it was typed, not as an application, even where one has that program.
        const std::size_t leader = leaderOf(now, place).value_or(place);
        const QString name = decoded(programOf(now[leader], m_owners[leader]).name);
        owner.app = app(QStringLiteral("program/") + name, name);
        return;
    }
    const int number = groupOf(process, owner);
    if (m_groups[std::size_t(number)].app == none) {
        owner.app = appOfProgram(programOf(process, owner).name);
        return;
    }
    owner.app = none;
    if (m_groups[std::size_t(number)].control.kind == ControlGroup::Kind::app)
        lookAtFirstProcess(now, place, number);
}

const AppGrouping::Program& AppGrouping::programOf(const ProcessSample& process, Owner& owner) const
{
    Program& program = owner.program;
    if (!program.name.isEmpty())
        return program;
    program.name = ProgramName::base(m_processes.programPath(process.pid));
    program.isWrapper = ProgramName::isWrapper(program.name);
    if (program.name.isEmpty() || ProgramName::isManyPrograms(program.name)) {
        program.name = process.command.data();
    } else if (ProgramName::isInterpreter(program.name)) {
        if (const QByteArray script = ProgramName::script(program.name, m_processes.commandLine(process.pid));
            !script.isEmpty())
            program.name = script;
    }
    if (program.name.isEmpty())
        program.name = "?";
    return program;
}

int AppGrouping::groupOf(const ProcessSample& process, Owner& owner)
{
    if (owner.group != none)
        return owner.group;
    const QByteArray content = m_processes.controlGroups(process.pid);
    const QByteArray path = ControlGroup::pathIn(content).toByteArray();
    const auto known = m_groupPlaces.constFind(path);
    owner.group = known == m_groupPlaces.cend() ? int(m_groups.size()) : *known;
    if (known == m_groupPlaces.cend()) {
        m_groupPlaces.insert(path, owner.group);
        const ControlGroup control = ControlGroup::parsed(path);
        m_groups.push_back({ control, appOf(control) });
    }
    return owner.group;
}

// Some launchers start all that they start in groups of their own name. Then the group's first process tells what the group
// is: if its program is that of another application, this is the one.
void AppGrouping::lookAtFirstProcess(const ProcessSamples& now, std::size_t place, int number)
{
    const ProcessSample& process = now[place];
    if (process.start > m_groups[std::size_t(number)].firstStart)
        return;
    const Program program = programOf(process, m_owners[place]);
    if (program.isWrapper)
        return;
    qint32 pid = process.parent;
    for (int step = 0; step < ProcessList::mostAncestors; ++step) {
        const auto ancestor = ProcessList::find(now, pid);
        if (!ancestor || groupOf(now[*ancestor], m_owners[*ancestor]) != number)
            break;
        if (!programOf(now[*ancestor], m_owners[*ancestor]).isWrapper)
            return;
        pid = now[*ancestor].parent;
    }
    Group& group = m_groups[std::size_t(number)];
    group.firstStart = process.start;
    const AppNames::Entry* own = m_names.entryOfApp(group.control.name);
    const AppNames::Entry* other = m_names.entryOfProgram(program.name);
    const bool isLent = other && (!own || own->program != program.name);
    group.app = isLent ? appOfEntry(*other) : appOf(group.control);
}

int AppGrouping::appOf(const ControlGroup& control)
{
    using Kind = ControlGroup::Kind;
    switch (control.kind) {
    case Kind::unnamed:
        break;
    case Kind::app:
        if (const AppNames::Entry* entry = m_names.entryOfApp(control.name))
            return appOfEntry(*entry);
        return app(QStringLiteral("app/") + control.name, control.name);
    case Kind::service:
        if (const AppNames::Entry* entry = m_names.entry(control.name))
            return appOfEntry(*entry);
        [[fallthrough]];
    case Kind::system:
        return app(QStringLiteral("service/") + control.name, control.name);
    case Kind::container:
        return app(QStringLiteral("container/") + control.name,
            m_language.container + u' ' + control.name.left(shownIdDigits));
    case Kind::machine:
        return app(QStringLiteral("machine/") + control.name, control.name);
    }
    return none;
}

int AppGrouping::appOfProgram(const QByteArray& program)
{
    if (const AppNames::Entry* entry = m_names.entryOfProgram(program))
        return appOfEntry(*entry);
    return app(QStringLiteral("program/") + decoded(program), decoded(program));
}

int AppGrouping::appOfEntry(const AppNames::Entry& entry)
{
    return app(QStringLiteral("app/") + entry.id, entry.name);
}

int AppGrouping::app(const QString& id, const QString& name)
{
    const auto known = m_appPlaces.constFind(id);
    if (known != m_appPlaces.cend())
        return *known;
    const int place = int(m_apps.size());
    // A name may contain anything, even nothing but line ends. Only the kernel's is empty.
    const QString shown = name.simplified();
    m_apps.push_back({ id, shown.isEmpty() && !name.isEmpty() ? QStringLiteral("?") : shown });
    m_appPlaces.insert(id, place);
    return place;
}

} // namespace kestrum
