#pragma once

#include "tests/Support/FileContent.h"

#include <QHash>
#include <QRegularExpression>
#include <QStringList>

namespace kestrum {

/// A translation table read line by line. The program's own reader would return only the last of several equal keys.
struct StringsTable {
    QStringList keys; ///< in order, with repetitions
    QHash<QString, QString> values;
    QStringList strangeLines; ///< neither a pair, nor a comment, nor empty

    explicit StringsTable(const QString& path)
    {
        static const QRegularExpression pair(QStringLiteral("^\"([^\"\\\\]+)\" = \"([^\"\\\\]*)\";$"));
        static const QRegularExpression comment(QStringLiteral("^/\\* .* \\*/$"));
        QString content = QString::fromUtf8(contentOf(path));
        if (content.endsWith(u'\n'))
            content.chop(1);
        for (const QString& line : content.split(u'\n')) {
            if (const auto match = pair.match(line); match.hasMatch()) {
                keys.append(match.captured(1));
                values.insert(match.captured(1), match.captured(2));
            } else if (!line.isEmpty() && !comment.match(line).hasMatch()) {
                strangeLines.append(line);
            }
        }
    }
};

} // namespace kestrum
