// SPDX-License-Identifier: MIT
#include "KestrumAgent/Popover/PopoverFocus.h"

#include <algorithm>

namespace kestrum {

void PopoverFocus::set(const Path& path, bool isShown)
{
    m_path = path;
    m_isShown = isShown;
}

void PopoverFocus::step(const PopoverLayout& layout, bool isForward)
{
    const QList<Path>& stops = layout.stops();
    if (stops.isEmpty())
        return;
    const qsizetype now = stops.indexOf(m_path);
    const qsizetype last = stops.size() - 1;
    if (isForward)
        set(stops[now < 0 || now == last ? 0 : now + 1], true);
    else
        set(stops[now <= 0 ? last : now - 1], true);
}

void PopoverFocus::stepRow(const PopoverLayout& layout, bool isDown)
{
    const QList<Path>& rows = layout.rows();
    // Paths are ordered as their elements are from top to bottom.
    if (isDown) {
        const auto below = std::upper_bound(rows.begin(), rows.end(), m_path);
        if (below != rows.end())
            set(*below, true);
    } else {
        const auto here = std::lower_bound(rows.begin(), rows.end(), m_path);
        if (m_path.isEmpty())
            toLastRow(layout);
        else if (here != rows.begin())
            set(*std::prev(here), true);
    }
    m_isShown = true;
}

void PopoverFocus::toFirstRow(const PopoverLayout& layout)
{
    if (!layout.rows().isEmpty())
        set(layout.rows().first(), true);
}

void PopoverFocus::toLastRow(const PopoverLayout& layout)
{
    if (!layout.rows().isEmpty())
        set(layout.rows().last(), true);
}

void PopoverFocus::adopt(const PopoverLayout& layout)
{
    if (!m_path.isEmpty() && !layout.stops().contains(m_path))
        clear();
}

} // namespace kestrum
