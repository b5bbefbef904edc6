#pragma once

#include "tests/Support/FileContent.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QSet>

namespace kestrum {

/// The string literals in a folder of sources. Adjacent literals are one text.
class SourceTexts {
public:
    explicit SourceTexts(const QString& folder)
    {
        QDirIterator files(folder, { QStringLiteral("*.cpp"), QStringLiteral("*.h") }, QDir::Files,
            QDirIterator::Subdirectories);
        while (files.hasNext())
            read(QString::fromUtf8(contentOf(files.next())));
    }

    /// The literals that are arguments of the function that looks up translations.
    const QSet<QString>& lookedUp() const { return m_lookedUp; }
    /// The looked-up literals and all others that look like texts for people. Such a text begins with a capital and is passed
    /// as a plain literal. Names of keys, files and properties are in lower case, or become QStrings in place.
    const QSet<QString>& display() const { return m_display; }
    const QSet<QString>& all() const { return m_all; }

private:
    void read(const QString& source)
    {
        // Matches a literal and the word before it, which names the literal's function or macro. Also matches text to skip.
        static const QRegularExpression token(QStringLiteral(
            "/{2}[^\\n]*|'(?:[^'\\\\\\n]|\\\\.)'|(?:(\\w+)\\s*[({]?\\s*)?((?:\"(?:[^\"\\\\\\n]|"
            "\\\\.)*\"\\s*)+)"));
        static const QRegularExpression seam(QStringLiteral("\"\\s*\"|^\"|\"\\s*$"));
        static const QRegularExpression text(
            QStringLiteral("^(?:[A-Z](?!\\w*[a-z][A-Z])[^/_:\\\\]*[a-z][^/_:\\\\]*$|%@ )"));
        static const QSet<QString> notForPeople { QStringLiteral("QStringLiteral"),
            QStringLiteral("QLatin1StringView"), QStringLiteral("include") };
        // The titles in an enumeration's table. A title may consist of capitals only.
        static const QRegularExpression title(
            QStringLiteral("\\{ \\w+::\\w+, \"[^\"]*\",\\s+\"([^\"]+)\" \\}"));
        for (auto found = title.globalMatch(source); found.hasNext();)
            m_display.insert(found.next().captured(1));
        for (auto found = token.globalMatch(source); found.hasNext();) {
            const auto match = found.next();
            if (match.captured(2).isEmpty())
                continue;
            const QString content = match.captured(2).remove(seam);
            const QString taker = match.captured(1);
            m_all.insert(content);
            const bool isLookedUp = taker == QLatin1StringView("string");
            if (isLookedUp)
                m_lookedUp.insert(content);
            if (isLookedUp || (!notForPeople.contains(taker) && text.match(content).hasMatch()))
                m_display.insert(content);
        }
    }

    QSet<QString> m_lookedUp;
    QSet<QString> m_display;
    QSet<QString> m_all;
};

} // namespace kestrum
