// SPDX-License-Identifier: MIT
#include "Platform/Bundle/PropertyList.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

namespace kestrum {

// Parses the decoded text in one pass, with one function per syntax element. Only containers recurse, up to a limit. After the
// first error, every function returns at once, because an incomplete list is useless.
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
        if (!failed() && !atEnd())
            failUnexpected();
        if (failed())
            return Failure::withReason(m_error);
        return result;
    }

private:
    // A strings table has no braces. The "=" after its first text identifies it. A blank file is an empty table.
    PropertyList topLevel()
    {
        skipBlanks();
        if (failed())
            return {};
        if (atEnd())
            return emptyOf(PropertyList::Type::dictionary);
        if (here() == u'{' || here() == u'(')
            return value();

        const qsizetype start = m_position;
        PropertyList single = textValue();
        skipBlanks();
        if (failed() || here() != u'=')
            return single;
        m_position = start;
        PropertyList table = emptyOf(PropertyList::Type::dictionary);
        members(table, u'\0');
        return table;
    }

    PropertyList value()
    {
        if (here() != u'{' && here() != u'(')
            return textValue();
        if (m_depth == PropertyList::maximumDepth) {
            fail(QStringLiteral("nested more than %1 levels deep").arg(PropertyList::maximumDepth));
            return {};
        }
        ++m_depth;
        const bool isDictionary = here() == u'{';
        ++m_position;
        PropertyList result
            = emptyOf(isDictionary ? PropertyList::Type::dictionary : PropertyList::Type::list);
        if (isDictionary)
            members(result, u'}');
        else
            elements(result);
        --m_depth;
        return result;
    }

    // Reads "key = value;" up to and including `closing`, or up to the end if `closing` is zero. The last ";" may be missing.
    void members(PropertyList& dictionary, char16_t closing)
    {
        for (;;) {
            if (takeEnd(closing))
                return;
            const QString key = text();
            skipBlanks();
            if (!take(u'='))
                return;
            skipBlanks();
            const PropertyList member = value();
            skipBlanks();
            if (failed())
                return;
            // The last value of a repeated key counts.
            dictionary.m_dictionary.insert(key, member);
            if (takeEnd(closing) || !take(u';'))
                return;
        }
    }

    void elements(PropertyList& list)
    {
        for (;;) {
            if (takeEnd(u')'))
                return;
            PropertyList element = value();
            skipBlanks();
            if (failed())
                return;
            list.m_list.append(std::move(element));
            if (takeEnd(u')') || !take(u','))
                return;
        }
    }

    PropertyList textValue()
    {
        PropertyList result;
        result.m_text = text();
        return result;
    }

    QString text() { return here() == u'"' ? quotedText() : word(); }

    // A slash is part of a word, so paths need no quotes. So no comment can start directly after a word: the "//" in an address
    // would otherwise silently cut the address in two.
    QString word()
    {
        const qsizetype start = m_position;
        while (!atEnd() && isWordCharacter(here()))
            ++m_position;
        if (m_position == start)
            failUnexpected();
        if (m_position - start > PropertyList::maximumTextLength)
            failTooLong(start);
        return m_text.mid(start, m_position - start);
    }

    QString quotedText()
    {
        const qsizetype start = m_position++;
        QString result;
        while (!failed()) {
            if (result.size() > PropertyList::maximumTextLength) {
                failTooLong(start);
            } else if (atEnd() || here() == u'\0') {
                m_position = start;
                fail(QStringLiteral("a quoted text without an end"));
            } else if (here() == u'"') {
                ++m_position;
                break;
            } else if (here() == u'\\') {
                ++m_position;
                result += escaped();
            } else {
                result += QChar(here());
                ++m_position;
            }
        }
        if (!failed() && !result.isValidUtf16())
            fail(QStringLiteral("half of a surrogate pair"));
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
            const char16_t c = here();
            const int worth = c >= u'0' && c <= u'9' ? c - u'0'
                : c >= u'a' && c <= u'f'             ? c - u'a' + 10
                : c >= u'A' && c <= u'F'             ? c - u'A' + 10
                                                     : -1;
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
        while (!failed() && !atEnd()) {
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

    // Whether the container ends here; also true after an error. Skips blanks and the closing character.
    bool takeEnd(char16_t closing)
    {
        skipBlanks();
        if (failed())
            return true;
        if (closing == u'\0')
            return atEnd();
        if (here() != closing)
            return false;
        ++m_position;
        return true;
    }

    bool take(char16_t wanted)
    {
        if (failed())
            return false;
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
        m_position = start;
        fail(QStringLiteral("a text of more than %1 characters").arg(PropertyList::maximumTextLength));
    }

    void fail(const QString& what)
    {
        if (failed())
            return;
        const auto line = QStringView(m_text).left(m_position).count(u'\n') + 1;
        m_error = QStringLiteral("line %1: %2").arg(line).arg(what);
    }

    bool failed() const { return !m_error.isEmpty(); }
    bool atEnd() const { return m_position >= m_text.size(); }
    // The current character; zero at the end, which is never a valid character.
    char16_t here() const { return atEnd() ? u'\0' : m_text.at(m_position).unicode(); }

    static bool isWordCharacter(char16_t c)
    {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_'
            || c == u'$' || c == u'/' || c == u':' || c == u'.' || c == u'-';
    }

    static PropertyList emptyOf(PropertyList::Type type)
    {
        PropertyList result;
        result.m_type = type;
        return result;
    }

    const QString m_text;
    qsizetype m_position = 0;
    int m_depth = 0;
    QString m_error;
};

namespace {

// The number of the first line that is not UTF-8.
qsizetype badLine(const QByteArray& content)
{
    qsizetype number = 0;
    for (const QByteArray& line : content.split('\n')) {
        ++number;
        QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString decoded = decode(line);
        Q_UNUSED(decoded)
        if (decode.hasError())
            break;
    }
    return number;
}

} // namespace

Result<PropertyList> PropertyList::parsed(const QByteArray& content)
{
    if (content.size() > maximumBytes)
        return Failure::withReason(QStringLiteral("larger than %1 bytes").arg(maximumBytes));

    // The decoder drops a byte order mark.
    QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decode(content);
    if (decode.hasError())
        return Failure::withReason(QStringLiteral("line %1: not UTF-8").arg(badLine(content)));
    return PropertyListParser(text).document();
}

Result<PropertyList> PropertyList::fromFile(const QString& path)
{
    // Opening anything else, such as a pipe, could block for ever.
    if (!QFileInfo(path).isFile())
        return Failure::withReason(QStringLiteral("no such file"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Failure::withReason(file.errorString());
    return parsed(file.read(maximumBytes + 1));
}

std::optional<QString> PropertyList::text() const
{
    if (m_type != Type::text)
        return std::nullopt;
    return m_text;
}

std::optional<PropertyList> PropertyList::value(const QString& key) const
{
    const auto found = m_dictionary.constFind(key);
    if (found == m_dictionary.constEnd())
        return std::nullopt;
    return *found;
}

} // namespace kestrum
