// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/AppUse.h"

#include <QHash>
#include <QList>
#include <array>
#include <functional>

namespace kestrum {

/// Chooses the rows of a list of apps so that the list keeps still: rows are ordered by the mean of the last three samples,
/// and a row leaves only after it was outranked in two samples. Main thread only.
class AppRanking {
public:
    using Value = std::function<double(const AppUse&)>;

    /// A list of at most `rowCount` rows. Apps are ranked by `value`, which is never negative.
    AppRanking(int rowCount, Value value);

    /// Adds a sample of all apps. An app that is missing uses nothing.
    void add(const QList<AppUse>& apps);

    /// While the list is held, because somebody points at a row, rows keep their places and only their numbers change. A list
    /// without rows is filled even then.
    void setHeld(bool isHeld) { m_isHeld = isHeld; }

    /// The rows from the top, with the numbers of the last sample. Apps that used nothing in the last three samples are left
    /// out.
    const QList<AppUse>& rows() const { return m_rows; }

    /// Begins anew, as for another list.
    void clear();

private:
    static constexpr int meanLength = 3;
    struct Candidate {
        AppUse use;                               ///< in the last sample
        std::array<double, meanLength> values {}; ///< in the last samples; 0 where it was not there
        double sum = 0;                           ///< of `values`
        int outranked = 0; ///< for how many samples it has been shown without being among the first
    };
    void takeSample(const QList<AppUse>& apps);
    QList<QString> ranked() const;
    bool isBefore(const QString& one, const QString& other) const;

    int m_rowCount;
    Value m_value;
    bool m_isHeld = false;
    std::size_t m_place = 0;                ///< of the last sample in `Candidate::values`
    QHash<QString, Candidate> m_candidates; ///< by the app's id
    QList<AppUse> m_rows;
};

} // namespace kestrum
