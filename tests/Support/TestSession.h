#pragma once

#include <QByteArray>
#include <QString>

namespace kestrum {

/// Makes the environment's language and region variables those of `session`, words of the form "NAME=value"; all others
/// of them are unset.
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

/// `text` with plain blanks for those that do not break: which kind of blank stands where differs from one edition of
/// the locale data to the next.
inline QString withPlainBlanks(QString text)
{
    return text.replace(QChar(0x00a0), QLatin1Char(' ')).replace(QChar(0x202f), QLatin1Char(' '));
}

} // namespace kestrum
