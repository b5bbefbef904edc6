// A sound text is read by Qt's parser as a whole. Of a damaged one, MemberScanner finds where each top-level
// member begins and ends, and the same parser reads each of them by itself. The scanner therefore only has to
// know strings and brackets, and what it gets wrong is refused by the parser. It goes forward only, so its
// time is linear.

#include "Platform/Store/SettingsText.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <cmath>
#include <optional>

namespace kestrum {

namespace {

/// The byte order mark that `text` begins with; empty without one.
QByteArrayView markOf(const QByteArray& text)
{
    static constexpr QByteArrayView mark("\xEF\xBB\xBF");
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
    {
    }

    /// The text of the next member, `"key": value`, that stands whole; null after the last one.
    QByteArray next()
    {
        if (!m_isInside) {
            m_position = m_text.indexOf('{') + 1;
            m_isInside = true;
            if (m_position == 0)
                m_position = m_text.size();
        }
        while (!isAtEnd()) {
            const qsizetype start = m_position;
            if (current() == '"') {
                if (skipMember())
                    return m_text.mid(start, m_position - start);
                if (!m_wasClosed)
                    break;
                skipLine();
            } else if (isOpening(current())) {
                // Not a member of ours: what stands in it must not be taken for one.
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

    /// Of the member that was given last.
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

    /// A text has no line end in it: one that has lost its closing quote ends there, and what follows is
    /// sound.
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

    /// An object or list that is never closed may reach to the end of the text, so nothing behind it can be
    /// told to be a member of the domain.
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

    /// A number or one of the three words. At the very end of the text it may be the beginning of a longer
    /// one.
    bool skipWord()
    {
        while (!isAtEnd() && !isBlank(current()) && current() != ',' && !isClosing(current()))
            ++m_position;
        return !isAtEnd();
    }

    const QByteArray& m_text;
    qsizetype m_position = 0;
    qsizetype m_keyStart = 0;
    qsizetype m_keyEnd = 0;
    qsizetype m_valueStart = 0;
    bool m_isInside = false;
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

/// Nothing, and why in `damage`, when `text` is not one sound object.
std::optional<QJsonObject> object(const QByteArray& text, QString* damage)
{
    if (depthOf(text) > SettingsText::maximumDepth) {
        *damage = QStringLiteral("nested deeper than %1").arg(SettingsText::maximumDepth);
        return std::nullopt;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        *damage = QStringLiteral("%1 at byte %2").arg(error.errorString()).arg(error.offset);
        return std::nullopt;
    }
    if (!document.isObject()) {
        *damage = QStringLiteral("not an object");
        return std::nullopt;
    }
    return document.object();
}

/// Members are put into one text again and read at once: adding them one by one to an object that keeps its
/// keys in order takes quadratic time.
QJsonObject salvaged(const QByteArray& text)
{
    QString ignored;
    QByteArray sound("{");
    MemberScanner scanner(text);
    for (QByteArray member = scanner.next(); !member.isNull(); member = scanner.next()) {
        if (!object('{' + member + '}', &ignored))
            continue;
        if (sound.size() > 1)
            sound += ',';
        sound += member;
    }
    sound += '}';
    return object(sound, &ignored).value_or(QJsonObject());
}

/// One member as it stands in a domain, without the line's end.
QByteArray memberLine(const QString& key, const QJsonValue& value)
{
    static constexpr QByteArrayView opening("{\n");
    static constexpr QByteArrayView closing("\n}\n");
    const QByteArray text = SettingsText::serialised({ { key, value } });
    return text.mid(opening.size(), text.size() - opening.size() - closing.size());
}

/// The lines of those members of `text` that mean what `values` says. Of a key that stands twice the last counts.
QHash<QString, QByteArray> keptLines(const QByteArray& text, const QJsonObject& values)
{
    QHash<QString, QByteArray> lines;
    QString ignored;
    MemberScanner scanner(text);
    for (QByteArray member = scanner.next(); !member.isNull(); member = scanner.next()) {
        const auto parsed = object('{' + member + '}', &ignored);
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
    if (depth >= SettingsText::maximumDepth)
        return false;
    if (value.isArray()) {
        const QJsonArray list = value.toArray();
        for (const QJsonValue& entry : list) {
            if (!isStorableAt(entry, depth + 1))
                return false;
        }
    } else {
        const QJsonObject members = value.toObject();
        for (const QJsonValue& entry : members) {
            if (!isStorableAt(entry, depth + 1))
                return false;
        }
    }
    return true;
}

} // namespace

SettingsText::Parsed SettingsText::parsed(const QByteArray& text)
{
    if (text.size() > maximumBytes)
        return { {}, QStringLiteral("larger than %1 bytes").arg(maximumBytes) };

    const QByteArray content = text.mid(markOf(text).size());
    if (content.trimmed().isEmpty())
        return {};

    Parsed result;
    if (const auto values = object(content, &result.damage))
        result.values = *values;
    else
        result.values = salvaged(content);
    return result;
}

QByteArray SettingsText::serialised(const QJsonObject& values)
{
    return QJsonDocument(values).toJson(QJsonDocument::Indented);
}

QByteArray SettingsText::rewritten(const QByteArray& before, const QJsonObject& values)
{
    const auto kept = keptLines(before, values);
    QByteArray text = markOf(before).toByteArray() + '{';
    for (auto value = values.begin(); value != values.end(); ++value) {
        const auto line = kept.constFind(value.key());
        text += value == values.begin() ? "\n" : ",\n";
        text += line == kept.constEnd() ? memberLine(value.key(), value.value()) : *line;
    }
    return text + "\n}\n";
}

bool SettingsText::isStorable(const QJsonValue& value)
{
    return isStorableAt(value, 1);
}

} // namespace kestrum
