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

    /// The literals that are passed to the function that looks texts up.
    const QSet<QString>& lookedUp() const { return m_lookedUp; }
    /// These literals and all others that look like texts for people. Names of keys, files and properties are in lower case,
    /// or become QStrings in place. A display text begins with a capital and is passed as a plain literal.
    const QSet<QString>& display() const { return m_display; }
    const QSet<QString>& all() const { return m_all; }

private:
    void read(const QString& source)
    {
        // Skips comments and single characters. The word before a literal is what the literal is passed to.
        static const QRegularExpression token(QStringLiteral(
            "/{2}[^\\n]*|'(?:[^'\\\\\\n]|\\\\.)'|(?:(\\w+)\\s*[({]?\\s*)?((?:\"(?:[^\"\\\\\\n]|"
            "\\\\.)*\"\\s*)+)"));
        static const QRegularExpression seam(QStringLiteral("\"\\s*\"|^\"|\"\\s*$"));
        static const QRegularExpression text(
            QStringLiteral("^(?:[A-Z](?!\\w*[a-z][A-Z])[^/_:\\\\]*[a-z][^/_:\\\\]*$|%@ )"));
        static const QSet<QString> notForPeople { QStringLiteral("QStringLiteral"),
            QStringLiteral("QLatin1StringView"), QStringLiteral("include") };
        // The titles of an enumeration's cases, which may consist of capitals only.
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
