// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/IsolatedRuns.h"

#include <algorithm>

namespace kestrum {
namespace {

constexpr QChar isolateBegin(u'\u2066');
constexpr QChar isolateEnd(u'\u2069');

bool isRightToLeft(QChar character)
{
    const QChar::Direction direction = character.direction();
    return direction == QChar::DirR || direction == QChar::DirAL || direction == QChar::DirAN;
}

/// Whether a character says how a text is ordered. Half of a surrogate pair counts: emoji begin names of programs.
bool isCore(QChar character)
{
    return character.isLetterOrNumber() || character.isSurrogate();
}

/// Whether a character joins a run with the text around it, and so belongs to neither.
bool joins(QChar character)
{
    return character.isSpace() || character.category() == QChar::Punctuation_Dash
        || QStringView(u".,;:!?\u060C\u061B\u061F").contains(character);
}

/// Appends `run`, which has no right-to-left character.
void appendIsolated(QString& text, QStringView run)
{
    qsizetype begin = 0;
    qsizetype end = run.size();
    // What stands right before the first word belongs to it, as in "/home", "-4 °C" or ".config".
    for (qsizetype i = 0; i < end && !isCore(run[i]); ++i) {
        if (run[i].isSpace())
            begin = i + 1;
    }
    while (end > begin && joins(run[end - 1]))
        --end;
    if (end == begin) {
        text += run;
        return;
    }
    text += run.first(begin);
    text += isolateBegin;
    text += run.sliced(begin, end - begin);
    text += isolateEnd;
    text += run.sliced(end);
}

} // namespace

bool hasRightToLeft(QStringView text)
{
    return std::any_of(text.begin(), text.end(), isRightToLeft);
}

QString isolatedRuns(const QString& text)
{
    QString isolated;
    isolated.reserve(text.size() + 8);
    const QStringView all(text);
    qsizetype begin = 0; // of the run
    for (qsizetype i = 0; i < all.size(); ++i) {
        // A combining mark belongs to the letter before it.
        if (isRightToLeft(all[i]) || (i == begin && all[i].direction() == QChar::DirNSM)) {
            appendIsolated(isolated, all.sliced(begin, i - begin));
            isolated += all[i];
            begin = i + 1;
        }
    }
    appendIsolated(isolated, all.sliced(begin));
    return isolated;
}

} // namespace kestrum
