// SPDX-License-Identifier: MIT
// Qt's parser reads a sound text as a whole. In a damaged text, MemberScanner finds the start and end of each top-level member,
// and Qt's parser reads each member separately. So the scanner only needs to recognise strings and brackets: the parser refuses
// a member that is not sound. The scanner never goes back, so its time is linear.

#include "Platform/Store/SettingsText.h"

#include "Platform/Log/Result.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <cmath>

namespace kestrum {

namespace {

constexpr QByteArrayView mark("\xEF\xBB\xBF");

/// The byte order mark of `text`; empty if there is none.
QByteArrayView markOf(const QByteArray& text)
{
    return text.startsWith(mark) ? mark : QByteArrayView();
}

bool isBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

bool isOpening(char character)
{
    return character == '{' || character == '[';
}

bool isClosing(char character)
{
    return character == '}' || character == ']';
}

class MemberScanner {
public:
    explicit MemberScanner(const QByteArray& text)
        : m_text(text)
        , m_position(text.indexOf('{') + 1)
    {
        if (m_position == 0)
            m_position = text.size();
    }

    /// The text of the next whole member, `"key": value`; null after the last one.
    QByteArray next()
    {
        while (!isAtEnd()) {
            const qsizetype start = m_position;
            if (current() == '"') {
                if (skipMember())
                    return m_text.mid(start, m_position - start);
                if (!m_wasClosed)
                    break;
                skipLine();
            } else if (isOpening(current())) {
                // An object or list without a key is not a member of the domain, and neither are the members inside. So the
                // whole object or list is skipped.
                if (!skipGroup())
                    break;
            } else if (isBlank(current()) || current() == ',' || isClosing(current())) {
                ++m_position;
            } else {
                skipLine();
            }
        }
        return {};
    }

    /// Key and value of the member that `next` returned last.
    QByteArray keyText() const { return m_text.mid(m_keyStart, m_keyEnd - m_keyStart); }
    QByteArray valueText() const { return m_text.mid(m_valueStart, m_position - m_valueStart); }

private:
    bool isAtEnd() const { return m_position >= m_text.size(); }
    char current() const { return m_text[m_position]; }

    void skipBlanks()
    {
        while (!isAtEnd() && isBlank(current()))
            ++m_position;
    }

    void skipLine()
    {
        while (!isAtEnd() && current() != '\n')
            ++m_position;
    }

    bool skipMember()
    {
        m_keyStart = m_position;
        if (!skipString())
            return false;
        m_keyEnd = m_position;
        skipBlanks();
        if (isAtEnd() || current() != ':')
            return false;
        ++m_position;
        skipBlanks();
        if (isAtEnd())
            return false;
        m_valueStart = m_position;
        if (current() == '"')
            return skipString();
        if (isOpening(current()))
            return skipGroup();
        return skipWord();
    }

    /// Skips a string. Returns false if the closing quote is missing. Then the string ends with its line, because JSON strings
    /// contain no line end, and the next line may be sound.
    bool skipString()
    {
        for (++m_position; !isAtEnd() && current() != '\n'; ++m_position) {
            const bool isEscape = current() == '\\';
            if (isEscape && m_position + 1 < m_text.size() && m_text[m_position + 1] != '\n') {
                ++m_position;
            } else if (current() == '"') {
                ++m_position;
                return true;
            }
        }
        return false;
    }

    /// Skips an object or list. Returns false if it is not closed. Then it may reach to the end of the text, so `next` stops.
    bool skipGroup()
    {
        int depth = 0;
        while (!isAtEnd()) {
            const char character = current();
            if (character == '"') {
                skipString();
                continue;
            }
            ++m_position;
            if (isOpening(character))
                ++depth;
            else if (isClosing(character) && --depth == 0)
                return true;
        }
        m_wasClosed = false;
        return false;
    }

    /// Skips a number, true, false or null. Returns false at the end of the text, where the word may be incomplete.
    bool skipWord()
    {
        while (!isAtEnd() && !isBlank(current()) && current() != ',' && !isClosing(current()))
            ++m_position;
        return !isAtEnd();
    }

    const QByteArray& m_text;
    qsizetype m_position;
    qsizetype m_keyStart = 0;
    qsizetype m_keyEnd = 0;
    qsizetype m_valueStart = 0;
    bool m_wasClosed = true;
};

int depthOf(const QByteArray& text)
{
    int depth = 0;
    int deepest = 0;
    bool isInText = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (isInText) {
            if (character == '\\')
                ++i;
            else if (character == '"')
                isInText = false;
        } else if (character == '"') {
            isInText = true;
        } else if (isOpening(character)) {
            deepest = qMax(deepest, ++depth);
        } else if (isClosing(character)) {
            --depth;
        }
    }
    return deepest;
}

/// The object in `text`. Fails if `text` is not exactly one sound object.
Result<QJsonObject> object(const QByteArray& text)
{
    if (depthOf(text) > SettingsText::maximumDepth)
        return Failure::withReason(QStringLiteral("nested deeper than %1").arg(SettingsText::maximumDepth));
    // Qt keeps a mark at the start of a string only if it is escaped.
    const QByteArray escaped = text.contains(mark) ? QByteArray(text).replace(mark, "\\ufeff") : text;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(escaped, &error);
    if (error.error != QJsonParseError::NoError)
        return Failure::withReason(
            QStringLiteral("%1 at byte %2").arg(error.errorString()).arg(error.offset));
    if (!document.isObject())
        return Failure::withReason(QStringLiteral("not an object"));
    return document.object();
}

/// Returns the sound members of a damaged text. They are joined into one text and parsed together: inserting members one by one
/// into a sorted object takes quadratic time.
QJsonObject salvaged(const QByteArray& text)
{
    QByteArray sound("{");
    MemberScanner scanner(text);
    for (QByteArray member = scanner.next(); !member.isNull(); member = scanner.next()) {
        if (!object('{' + member + '}'))
            continue;
        if (sound.size() > 1)
            sound += ',';
        sound += member;
    }
    sound += '}';
    const auto values = object(sound);
    return values ? *values : QJsonObject();
}

/// Returns one member as `serialised` writes it, without the line end.
QByteArray memberLine(const QString& key, const QJsonValue& value)
{
    static constexpr QByteArrayView opening("{\n");
    static constexpr QByteArrayView closing("\n}\n");
    const QByteArray text = SettingsText::serialised({ { key, value } });
    return text.mid(opening.size(), text.size() - opening.size() - closing.size());
}

/// Returns the lines of those members in `text` whose value is the same in `values`. The last value of a repeated key counts.
QHash<QString, QByteArray> unchangedLines(const QByteArray& text, const QJsonObject& values)
{
    QHash<QString, QByteArray> lines;
    MemberScanner scanner(text);
    for (QByteArray member = scanner.next(); !member.isNull(); member = scanner.next()) {
        const auto parsed = object('{' + member + '}');
        if (!parsed || parsed->size() != 1)
            continue;
        const auto it = parsed->begin();
        if (it.value() == values.value(it.key()))
            lines.insert(it.key(), "    " + scanner.keyText() + ": " + scanner.valueText());
        else
            lines.remove(it.key());
    }
    return lines;
}

bool isStorableAt(const QJsonValue& value, int depth)
{
    if (value.isDouble())
        return std::isfinite(value.toDouble());
    if (!value.isObject() && !value.isArray())
        return !value.isUndefined();
    const auto isEntryStorable = [depth](const QJsonValue& entry) { return isStorableAt(entry, depth + 1); };
    const QJsonArray list = value.toArray();
    const QJsonObject members = value.toObject();
    return depth < SettingsText::maximumDepth && std::all_of(list.begin(), list.end(), isEntryStorable)
        && std::all_of(members.begin(), members.end(), isEntryStorable);
}

} // namespace

SettingsText::Parsed SettingsText::parsed(const QByteArray& text)
{
    if (text.size() > maximumBytes)
        return { {}, QStringLiteral("larger than %1 bytes").arg(maximumBytes) };

    const QByteArray content = text.mid(markOf(text).size());
    if (content.trimmed().isEmpty())
        return {};

    const auto values = object(content);
    return { values ? *values : salvaged(content), values.failureText() };
}

QByteArray SettingsText::serialised(const QJsonObject& values)
{
    return QJsonDocument(values).toJson(QJsonDocument::Indented);
}

QByteArray SettingsText::rewritten(const QByteArray& before, const QJsonObject& values)
{
    const auto unchanged = unchangedLines(before, values);
    QByteArray text = markOf(before).toByteArray() + '{';
    for (auto value = values.begin(); value != values.end(); ++value) {
        const auto line = unchanged.constFind(value.key());
        text += value == values.begin() ? "\n" : ",\n";
        text += line == unchanged.constEnd() ? memberLine(value.key(), value.value()) : *line;
    }
    return text + "\n}\n";
}

bool SettingsText::isStorable(const QJsonValue& value)
{
    return isStorableAt(value, 1);
}

} // namespace kestrum
