// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/DayDesk.h"
#include "tests/Support/LogLines.h"
#include "tests/Support/Text.h"

#include <QSet>
#include <algorithm>

namespace kestrum {

/// What the programs of a `DayDesk` say, and what one process says more than once of the same trouble.
class DayLog {
public:
    explicit DayLog(const DayDesk& desk)
        : m_desk(desk)
        , m_agent(desk.agentLog())
        , m_window(desk.windowLog())
    {
    }

    /// Notes who may say something. To be called often.
    void look()
    {
        for (const qint32 pid : { m_desk.agent(), m_desk.window() })
            m_seen.insert(pid);
        m_hasWindowsAgent |= m_desk.isWindowsAgent();
    }

    /// Counts the lines that have come since the last call.
    void count(const QString& during)
    {
        add(m_agent.takeNew(), "agent", during);
        add(m_window.takeNew(), "window", during);
        m_seen.clear();
        m_hasWindowsAgent = false;
        m_attachments = m_desk.attachments();
    }

    const LogLines::Counts& lines() const { return m_lines; }
    /// One text for each kind of line that came too often.
    const QStringList& repeated() const { return m_repeated; }

private:
    void add(const LogLines::Counts& counts, const char* whose, const QString& during)
    {
        const int told = m_desk.attachments() - m_attachments;
        for (auto count = counts.begin(); count != counts.end(); ++count) {
            const QString kind = text(whose) + text(": ") + count.key();
            m_lines[kind] += *count;
            // Each process says it once, and each bridge is named. The window's log may have two processes at a time.
            const int processes = int(m_seen.size()) - 1 + (m_hasWindowsAgent ? 1 : 0);
            const int allowed = count.key().contains(text("the items are shown by")) ? told : processes;
            if (*count > std::max(allowed, 1))
                m_repeated.append(text("%1 x %2 (%3)").arg(*count).arg(kind, during));
        }
    }

    const DayDesk& m_desk;
    LogLines m_agent;
    LogLines m_window;
    QSet<qint32> m_seen; ///< processes since the last count
    bool m_hasWindowsAgent = false;
    int m_attachments = 0; ///< at the last count
    LogLines::Counts m_lines;
    QStringList m_repeated;
};

} // namespace kestrum
