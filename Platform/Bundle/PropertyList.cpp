// SPDX-License-Identifier: MIT
#include "Platform/Bundle/PropertyList.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>

namespace kestrum {

// Parses the decoded text in one pass, with one function per syntax element. Only lists and dictionaries recurse, up to a
// limit. An error discards the result and moves the position to the end of the text, where every function returns.
class PropertyListParser {
public:
    explicit PropertyListParser(const QString& text)
        : m_text(text)
    {
    }

    Result<PropertyList> document()
    {
        PropertyList result = topLevel();
        skipBlanks();
        if (!atEnd())
            failUnexpected();
        if (!m_error.isEmpty())
            return Failure::withReason(m_error);
        return result;
    }

private:
    // A strings table has no braces, and is recognized by the "=" after its first text. A blank file is an empty table.
    PropertyList topLevel()
    {
        skipBlanks();
        const qsizetype start = m_position;
        if (!atEnd()) {
            PropertyList single = value();
            skipBlanks();
            if (single.m_type != PropertyList::Type::text || here() != u'=')
                return single;
        }
        m_position = start;
        return members(u'\0');
    }

    PropertyList value()
    {
        if (here() != u'{' && here() != u'(') {
            PropertyList result;
            result.m_text = text();
            return result;
        }
        if (m_depth == PropertyList::maximumDepth) {
            fail(QStringLiteral("nested more than %1 levels deep").arg(PropertyList::maximumDepth));
            return {};
        }
        ++m_depth;
        const bool isDictionary = here() == u'{';
        ++m_position;
        PropertyList result = isDictionary ? members(u'}') : elements();
        --m_depth;
        return result;
    }

    // Reads pairs "key = value;" up to and including `closing`, or to the end if `closing` is zero. The last ";" is optional.
    PropertyList members(char16_t closing)
    {
        PropertyList dictionary;
        dictionary.m_type = PropertyList::Type::dictionary;
        while (!takeEnd(closing)) {
            const QString key = text();
            skipBlanks();
            if (!take(u'='))
                break;
            skipBlanks();
            // The last value of a repeated key counts.
            dictionary.m_dictionary.insert(key, value());
            if (takeEnd(closing) || !take(u';'))
                break;
        }
        return dictionary;
    }

    PropertyList elements()
    {
        PropertyList list;
        list.m_type = PropertyList::Type::list;
        while (!takeEnd(u')')) {
            list.m_list.append(value());
            if (takeEnd(u')') || !take(u','))
                break;
        }
        return list;
    }

    QString text() { return here() == u'"' ? quotedText() : word(); }

    // A word may contain slashes, so paths need no quotes. Therefore "//" directly after a word does not start a comment.
    // Otherwise an address with "//" would silently lose its end.
    QString word()
    {
        const qsizetype start = m_position;
        while (!atEnd() && isWordCharacter(here()))
            ++m_position;
        const qsizetype length = m_position - start;
        if (length == 0)
            failUnexpected();
        else if (length > PropertyList::maximumTextLength)
            failTooLong(start);
        return m_text.mid(start, length);
    }

    QString quotedText()
    {
        const qsizetype start = m_position++;
        QString result;
        while (here() != u'"' && here() != u'\0' && result.size() <= PropertyList::maximumTextLength) {
            const QChar c = here();
            ++m_position;
            result += c == u'\\' ? escaped() : c;
        }
        if (result.size() > PropertyList::maximumTextLength)
            failTooLong(start);
        else if (here() != u'"')
            fail(QStringLiteral("a quoted text without an end"), start);
        else if (!result.isValidUtf16())
            fail(QStringLiteral("half of a surrogate pair"));
        ++m_position;
        return result;
    }

    QChar escaped()
    {
        const char16_t letter = here();
        ++m_position;
        switch (letter) {
        case u'"':
        case u'\'':
        case u'\\':
            return letter;
        case u'n':
            return u'\n';
        case u't':
            return u'\t';
        case u'r':
            return u'\r';
        case u'u':
        case u'U':
            return codeUnit();
        default:
            --m_position;
            fail(QStringLiteral("an unknown escape"));
            return {};
        }
    }

    QChar codeUnit()
    {
        char16_t unit = 0;
        for (int digit = 0; digit < 4; ++digit) {
            const qsizetype worth
                = QLatin1StringView("0123456789abcdef").indexOf(QChar(here()), 0, Qt::CaseInsensitive);
            if (worth < 0) {
                fail(QStringLiteral("four hexadecimal digits are missing"));
                return {};
            }
            unit = char16_t(unit * 16 + worth);
            ++m_position;
        }
        return unit;
    }

    void skipBlanks()
    {
        while (!atEnd()) {
            const char16_t c = here();
            if (c == u' ' || (c >= u'\t' && c <= u'\r')) {
                ++m_position;
            } else if (startsComment(u'/')) {
                const qsizetype end = m_text.indexOf(u'\n', m_position);
                m_position = end < 0 ? m_text.size() : end;
            } else if (startsComment(u'*')) {
                const qsizetype end = m_text.indexOf(QLatin1StringView("*/"), m_position + 2);
                if (end < 0)
                    fail(QStringLiteral("a comment without an end"));
                else
                    m_position = end + 2;
            } else {
                return;
            }
        }
    }

    bool startsComment(char16_t second) const
    {
        return here() == u'/' && m_position + 1 < m_text.size() && m_text.at(m_position + 1) == QChar(second);
    }

    // Skips blanks. If the container ends there, skips the closing character and returns true.
    bool takeEnd(char16_t closing)
    {
        skipBlanks();
        if (closing == u'\0')
            return atEnd();
        if (here() != closing)
            return false;
        ++m_position;
        return true;
    }

    bool take(char16_t wanted)
    {
        if (here() != wanted) {
            fail(QStringLiteral("\"%1\" is missing").arg(QChar(wanted)));
            return false;
        }
        ++m_position;
        return true;
    }

    void failUnexpected()
    {
        if (atEnd())
            fail(QStringLiteral("unexpected end"));
        else
            fail(QStringLiteral("unexpected character U+%1").arg(uint(here()), 4, 16, QLatin1Char('0')));
    }

    void failTooLong(qsizetype start)
    {
        fail(QStringLiteral("a text of more than %1 characters").arg(PropertyList::maximumTextLength), start);
    }

    void fail(const QString& what) { fail(what, m_position); }

    // Only the first error is reported.
    void fail(const QString& what, qsizetype position)
    {
        const auto line = QStringView(m_text).left(position).count(u'\n') + 1;
        if (m_error.isEmpty())
            m_error = QStringLiteral("line %1: %2").arg(line).arg(what);
        m_position = m_text.size();
    }

    bool atEnd() const { return m_position >= m_text.size(); }
    // The current character; zero at the end of the text. A zero within the text is never valid.
    char16_t here() const { return atEnd() ? u'\0' : m_text.at(m_position).unicode(); }

    static bool isWordCharacter(char16_t c)
    {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_'
            || c == u'$' || c == u'/' || c == u':' || c == u'.' || c == u'-';
    }

    const QString m_text;
    qsizetype m_position = 0;
    int m_depth = 0;
    QString m_error;
};

Result<PropertyList> PropertyList::parsed(const QByteArray& content)
{
    if (content.size() > maximumBytes)
        return Failure::withReason(QStringLiteral("larger than %1 bytes").arg(maximumBytes));
    if (!content.isValidUtf8()) {
        const QByteArrayList lines = content.split('\n');
        const auto bad = std::find_if(
            lines.begin(), lines.end(), [](const QByteArray& line) { return !line.isValidUtf8(); });
        return Failure::withReason(QStringLiteral("line %1: not UTF-8").arg(bad - lines.begin() + 1));
    }
    // `fromUtf8` drops a byte order mark.
    return PropertyListParser(QString::fromUtf8(content)).document();
}

Result<PropertyList> PropertyList::fromFile(const QString& path)
{
    // Only regular files are opened, because opening a pipe could block for ever.
    if (!QFileInfo(path).isFile())
        return Failure::withReason(QStringLiteral("no such file"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Failure::withReason(file.errorString());
    return parsed(file.read(maximumBytes + 1));
}

std::optional<QString> PropertyList::text() const
{
    return m_type == Type::text ? std::optional(m_text) : std::nullopt;
}

std::optional<PropertyList> PropertyList::value(const QString& key) const
{
    const auto found = m_dictionary.constFind(key);
    if (found == m_dictionary.constEnd())
        return std::nullopt;
    return *found;
}

} // namespace kestrum
