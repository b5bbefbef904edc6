// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Log/Result.h"

#include <QByteArrayList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QTimer>
#include <chrono>
#include <memory>
#include <optional>

namespace kestrum {

/// Notices when the file of the running program is replaced or removed, as packages do when they are upgraded or removed. Both
/// are told once the file has been left alone for a while, because an upgrade replaces many files. Main thread only.
class ProgramWatch final : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds quietTime { 2000 };
    static constexpr int mostTrials = 10;

    struct Times {
        std::chrono::milliseconds quiet = quietTime; ///< without a change, before the program is looked at
        std::chrono::milliseconds trial { 20'000 };  ///< a trial that takes longer has failed
        std::chrono::milliseconds pauseAfterFailure { 60'000 }; ///< an upgrade of the libraries may follow
    };

    /// Watches the running program's file. A program that was replaced before is noticed too.
    explicit ProgramWatch(QObject* parent = nullptr);
    /// Watches the file at `path`. Tests pass other files and times.
    ProgramWatch(const QString& path, const Times& times, QObject* parent = nullptr);
    ~ProgramWatch() override;

    /// The path of the program's file, also when another program or none stands there by now.
    QString path() const { return m_path; }

    /// Runs the program at `path` in place of this one, in the same process, with `arguments` (the first is the name). Open
    /// descriptors are closed; everything of this program's that needs an orderly end must have ended. The new program gets
    /// `since`, in seconds since 1970: what was asked of this one later is its business. Returns only if it fails.
    static Failure runInstead(const QString& path, const QByteArrayList& arguments, double since);
    /// The time that `runInstead` gave to this program; nothing if it was started in another way. The kernel tells only when
    /// the process began. Programs that are started later do not inherit the time.
    static std::optional<double> takeBegin();

Q_SIGNALS:
    /// Another program that can be run stands at `path`: its "--version" succeeded, so its libraries are there too.
    void replaced();
    void removed();

private:
    void look();
    void tryReplacement();
    void judge(bool canRun);

    QString m_path;
    Times m_times;
    std::unique_ptr<DirectoryWatch> m_folder;
    QTimer m_quiet;
    QTimer m_limit;
    std::unique_ptr<QProcess> m_trial; ///< null while none runs
    int m_failures = 0;
};

} // namespace kestrum
