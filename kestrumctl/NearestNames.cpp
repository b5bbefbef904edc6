// SPDX-License-Identifier: MIT
#include "kestrumctl/NearestNames.h"

#include "Platform/Log/Log.h"

#include <QList>
#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <utility>
#include <vector>

namespace kestrum {

namespace {

constexpr qsizetype mostShown = 3;
// The largest number of names that a message lists: more names cannot be read at a glance.
constexpr qsizetype fewNames = 16;
// Longer words are not compared: they are not misspelled names, and the comparison would be slow.
constexpr qsizetype longestCompared = 64;

QString quoted(const QString& name)
{
    return QLatin1Char('"') + Log::escaped(name) + QLatin1Char('"');
}

QString joined(const QStringList& names)
{
    QStringList texts;
    for (const QString& name : names)
        texts.append(quoted(name));
    if (texts.size() < 2)
        return texts.value(0);
    const QString last = texts.takeLast();
    return texts.join(QLatin1StringView(", ")) + QLatin1StringView(" or ") + last;
}

} // namespace

int NearestNames::distance(const QString& word, const QString& other)
{
    const QString a = word.toCaseFolded();
    const QString b = other.toCaseFolded();
    // Three rows of the table of distances between prefixes of both words. `beforeLast` is needed for swapped neighbours.
    const std::size_t columns = std::size_t(b.size()) + 1;
    std::vector<int> beforeLast(columns);
    std::vector<int> last(columns);
    std::vector<int> row(columns);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 1; i <= a.size(); ++i) {
        std::swap(beforeLast, last);
        std::swap(last, row);
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const bool isSame = a.at(i - 1) == b.at(j - 1);
            int& least = row[std::size_t(j)];
            least = std::min({ last[std::size_t(j)] + 1, row[std::size_t(j) - 1] + 1,
                last[std::size_t(j) - 1] + (isSame ? 0 : 1) });
            if (i > 1 && j > 1 && a.at(i - 1) == b.at(j - 2) && a.at(i - 2) == b.at(j - 1))
                least = std::min(least, beforeLast[std::size_t(j) - 2] + 1);
        }
    }
    return row.back();
}

QStringList NearestNames::of(const QString& word, const QStringList& names)
{
    if (word.isEmpty() || word.size() > longestCompared)
        return {};
    // A near name differs by at most one change for every three letters of `word`, or by two changes in short words.
    const int mostChanges = std::max(2, int(word.size()) / 3);
    QList<std::pair<int, QString>> near;
    for (const QString& name : names) {
        const bool contains = word.size() >= 3 && name.contains(word, Qt::CaseInsensitive);
        // Each letter too many is a change.
        if (!contains && std::abs(name.size() - word.size()) > mostChanges)
            continue;
        const int changes = distance(word, name);
        if (changes <= mostChanges && changes < name.size())
            near.append({ changes, name });
        else if (contains)
            near.append({ mostChanges + changes, name });
    }
    std::stable_sort(
        near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    QStringList result;
    for (const auto& [changes, name] : near.mid(0, mostShown))
        result.append(name);
    return result;
}

QString NearestNames::unknown(const char* kind, const QString& word, const QStringList& names)
{
    QString sentence = QStringLiteral("there is no %1 %2").arg(QLatin1StringView(kind), quoted(word));
    const QStringList near = of(word, names);
    if (!near.isEmpty())
        return sentence + QStringLiteral("; did you mean %1?").arg(joined(near));
    if (names.size() <= fewNames)
        return sentence + QStringLiteral("; there is %1").arg(joined(names));
    return sentence;
}

} // namespace kestrum
