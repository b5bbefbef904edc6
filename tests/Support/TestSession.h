#pragma once

#include <QByteArray>
#include <QString>

namespace kestrum {

/// Sets the environment's language and region variables to those of `session`, words of the form "NAME=value". Unsets all other
/// variables of this kind.
inline void setSession(const QByteArray& session)
{
    for (const char* variable :
        { "LANGUAGE", "LC_ALL", "LC_MESSAGES", "LC_NUMERIC", "LC_MEASUREMENT", "LANG", "KESTRUM_LANGUAGE" })
        qunsetenv(variable);
    for (const QByteArray& assignment : session.split(' ')) {
        const qsizetype equals = assignment.indexOf('=');
        if (equals > 0)
            qputenv(assignment.left(equals).constData(), assignment.mid(equals + 1));
    }
}

/// `text` with ordinary blanks instead of non-breaking ones: versions of the locale data differ in the kind of blank.
inline QString withPlainBlanks(QString text)
{
    return text.replace(QChar(0x00a0), QLatin1Char(' ')).replace(QChar(0x202f), QLatin1Char(' '));
}

} // namespace kestrum
