// SPDX-License-Identifier: MIT
#include "Platform/Log/Log.h"

#include "Platform/Log/Identifier.h"
#include "Platform/Log/JournalSocket.h"

#include <QByteArray>
#include <QSet>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <unistd.h>
#include <unordered_map>

namespace kestrum {

namespace {

constexpr qsizetype valueLimit = 256;
// In bytes. The limit is far below the size of a datagram and far above the length of this program's messages.
constexpr qsizetype messageLimit = 4096;

// Whether `character` can end a line, move the cursor, or change the direction of the text after it.
bool isUnsafe(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x061C
        || (character >= 0x200E && character <= 0x200F) || (character >= 0x2028 && character <= 0x202E)
        || (character >= 0x2066 && character <= 0x2069);
}

// A backslash is not escaped, so that escaping twice gives the same text as escaping once. Callers escape the values of a
// message, and the handler escapes the whole message again.
QByteArray escapedText(char32_t character)
{
    if (!isUnsafe(character))
        return QString::fromUcs4(&character, 1).toUtf8();
    if (character == '\n')
        return "\\n";
    if (character == '\r')
        return "\\r";
    if (character == '\t')
        return "\\t";
    const QByteArray digits = QByteArray::number(uint(character), 16);
    return character < 0x100 ? "\\x" + digits.rightJustified(2, '0') : "\\u" + digits.rightJustified(4, '0');
}

QByteArray escapedUtf8(const QString& value, qsizetype limit)
{
    QByteArray text;
    for (qsizetype i = 0; i < value.size(); ++i) {
        char32_t character = value[i].unicode();
        if (value[i].isHighSurrogate() && i + 1 < value.size() && value[i + 1].isLowSurrogate())
            character = QChar::surrogateToUcs4(value[i], value[i + 1]);
        else if (value[i].isSurrogate())
            character = QChar::ReplacementCharacter;
        const QByteArray piece = escapedText(character);
        if (text.size() + piece.size() > limit)
            break;
        text += piece;
        i += character > 0xFFFF ? 1 : 0;
    }
    return text;
}

// The names of the levels, in the order of QtMsgType.
constexpr const char* levelNames[] = { "debug", "warning", "error", "fatal", "info" };
static_assert(
    QtDebugMsg == 0 && QtWarningMsg == 1 && QtCriticalMsg == 2 && QtFatalMsg == 3 && QtInfoMsg == 4);

// Protects the static containers below. Messages are rare, so one mutex is enough.
std::mutex mutex;

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    static const JournalSocket* const journal
        = JournalSocket::isStandardError() ? new JournalSocket : nullptr;
    const QByteArray text = escapedUtf8(message, messageLimit);
    const QByteArray category(context.category ? context.category : "default");
    if (!journal || !journal->send(JournalSocket::entry(type, category, text))) {
        // One `write` call per line keeps the lines of different threads apart. A failure of `write` cannot be reported.
        const QByteArray line = category + ": " + levelNames[type] + ": " + text + '\n';
        [[maybe_unused]] const ssize_t written
            = ::write(STDERR_FILENO, line.constData(), size_t(line.size()));
    }
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

const QLoggingCategory& Log::category(const char* area)
{
    // The map is never destroyed, because messages may be logged until the process ends. A QLoggingCategory only points to its
    // name; the map's key owns the name.
    static auto* const categories = new std::unordered_map<QByteArray, QLoggingCategory>;
    const QByteArray name
        = QByteArray(applicationIdentifier.data(), applicationIdentifier.size()) + '.' + area;
    const std::scoped_lock lock(mutex);
    return categories->try_emplace(name, name.constData()).first->second;
}

QString Log::escaped(const QString& value)
{
    return QString::fromUtf8(escapedUtf8(value, valueLimit));
}

QString Log::escaped(const Failure& failure)
{
    return Failure { failure.step, escaped(failure.reason), failure.error, escaped(failure.subject) }.text();
}

QString Log::escapedWhole(const QString& value)
{
    return QString::fromUtf8(escapedUtf8(value, std::numeric_limits<qsizetype>::max()));
}

void Log::error(const char* area, const QString& message)
{
    qCCritical(category(area)).noquote() << message;
}

void Log::warning(const char* area, const QString& message)
{
    qCWarning(category(area)).noquote() << message;
}

void Log::info(const char* area, const QString& message)
{
    qCInfo(category(area)).noquote() << message;
}

void Log::warnOnce(const char* area, const QString& message)
{
    static auto* const logged = new QSet<QString>;
    {
        const std::scoped_lock lock(mutex);
        const qsizetype before = logged->size();
        if (logged->insert(message); logged->size() == before)
            return;
    }
    warning(area, message);
}

void Log::install()
{
    qInstallMessageHandler(handleMessage);
}

} // namespace kestrum
