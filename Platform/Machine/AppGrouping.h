// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/AppNames.h"
#include "Platform/Machine/ControlGroup.h"
#include "Platform/Machine/ProcessList.h"
#include "Platform/Machine/UseCounter.h"

#include <chrono>
#include <limits>
#include <optional>

namespace kestrum {

/// The language of the names of apps.
struct AppLanguageTexts {
    QString code;      ///< as "pt-BR"
    QString container; ///< the word for a software container whose name is not known
    bool operator==(const AppLanguageTexts&) const = default;
};

/// Finds out to which app a process belongs, and what the app is called. In this order: the kernel; what was typed in a
/// terminal; the control group; the program. Files are read only for processes that are new or have become something else.
class AppGrouping {
public:
    struct App {
        QString id;
        QString name; ///< empty for the kernel
    };

    /// `processes` must outlive this object.
    AppGrouping(const ProcessList& processes, const QStringList& dataFolders);

    /// Gives for each process of `now` the place of its app in `apps`. `before` is `now` of the last call. `time` is that of a
    /// clock that only goes forward. The result is valid until the next call.
    const std::vector<int>& group(const ProcessSamples& before, const ProcessSamples& now,
        const ProcessMatch& match, const AppLanguageTexts& language, std::chrono::nanoseconds time);
    const std::vector<App>& apps() const { return m_apps; }

private:
    static constexpr int none = -1;
    struct Program {
        QByteArray name; ///< empty while unknown
        bool isWrapper = false;
    };
    struct Owner {
        int app = none; ///< unknown while `group` tells the app
        int group = none;
        Program program;
        bool isNew = true; ///< whether the app is still to be found
        /// Of a process that had just started when it was first seen: when that was. It is looked at again at each call.
        std::optional<std::chrono::nanoseconds> youngSince;
    };
    struct Group {
        ControlGroup control;
        int app = none; ///< none where each process counts as its program
        quint64 firstStart
            = std::numeric_limits<quint64>::max(); ///< of the process that showed what the group is
    };

    void forget();
    void find(const ProcessSamples& now, std::size_t place);
    std::optional<std::size_t> leaderOf(const ProcessSamples& now, std::size_t place);
    const Program& programOf(const ProcessSample& process, Owner& owner) const;
    int groupOf(const ProcessSample& process, Owner& owner);
    void lookAtFirstProcess(const ProcessSamples& now, std::size_t place, int number);
    int appOf(const ControlGroup& control);
    int appOfProgram(const QByteArray& program);
    int appOfEntry(const AppNames::Entry& entry);
    int app(const QString& id, const QString& name);

    const ProcessList& m_processes;
    AppNames m_names;
    AppLanguageTexts m_language;
    std::vector<Owner> m_owners; ///< of the processes of the last call
    std::vector<int> m_result;
    std::vector<App> m_apps;
    QHash<QString, int> m_appPlaces;
    std::vector<Group> m_groups;
    QHash<QByteArray, int> m_groupPlaces; ///< by the group's path
};

} // namespace kestrum
