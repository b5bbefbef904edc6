#include "Platform/Log/Log.h"

#include "Platform/Log/Identifier.h"
#include "Platform/Log/JournalSocket.h"

#include <QByteArray>
#include <atomic>
#include <cstdlib>
#include <limits>
#include <unistd.h>
#include <utility>

namespace kestrum {

namespace {

constexpr qsizetype valueLimit = 256;
// Far below a datagram's limit and far above any message of ours.
constexpr qsizetype messageLimit = 4096;

// Characters that end a line, move the cursor, or turn the direction of what follows.
bool isUnsafe(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x061C
        || (character >= 0x200E && character <= 0x200F) || (character >= 0x2028 && character <= 0x202E)
        || (character >= 0x2066 && character <= 0x2069);
}

// A backslash stays as it is, so that escaping twice is escaping once: a value is escaped by whoever builds
// the message, and the whole message once more on its way out.
QByteArray escapedText(char32_t character)
{
    if (!isUnsafe(character))
        return QString::fromUcs4(&character, 1).toUtf8();
    switch (character) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        break;
    }
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

// Entries are only ever added, so that any thread may look without a lock. They stay until the process ends.
template <typename Item> class GrowingList {
public:
    // The first item that `matches`, else a new one; and whether it is new.
    template <typename Matches, typename... Arguments>
    std::pair<Item*, bool> findOrAdd(const Matches& matches, const Arguments&... arguments)
    {
        Node* head = m_head.load(std::memory_order_acquire);
        if (Item* item = find(head, nullptr, matches))
            return { item, false };
        Node* node = new Node(arguments...);
        for (;;) {
            node->next = head;
            if (m_head.compare_exchange_weak(
                    head, node, std::memory_order_acq_rel, std::memory_order_acquire))
                return { &node->item, true };
            // Another thread came first, perhaps with the same item.
            if (Item* item = find(head, node->next, matches)) {
                delete node;
                return { item, false };
            }
        }
    }

private:
    struct Node {
        template <typename... Arguments>
        explicit Node(const Arguments&... arguments)
            : item(arguments...)
        {
        }
        Item item;
        Node* next = nullptr;
    };

    template <typename Matches> static Item* find(Node* from, const Node* to, const Matches& matches)
    {
        for (Node* node = from; node != to; node = node->next) {
            if (matches(node->item))
                return &node->item;
        }
        return nullptr;
    }

    std::atomic<Node*> m_head = nullptr;
};

struct Area {
    explicit Area(const QByteArray& areaName)
        : name(areaName)
        , category(name.constData())
    {
    }
    Area(const Area&) = delete;
    Area& operator=(const Area&) = delete;
    QByteArray name; // the category keeps a pointer to it
    QLoggingCategory category;
};

const char* levelText(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "error";
    case QtFatalMsg:
        return "fatal";
    }
    return "message";
}

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    static const JournalSocket* const journal
        = JournalSocket::isStandardError() ? new JournalSocket : nullptr;
    const QByteArray text = escapedUtf8(message, messageLimit);
    const QByteArray category = context.category ? QByteArray(context.category) : QByteArray("default");
    if (!journal || !journal->send(JournalSocket::entry(type, category, text))) {
        // One call, so that lines of two threads do not mix. There is nobody to tell when it fails.
        const QByteArray line = category + ": " + levelText(type) + ": " + text + '\n';
        [[maybe_unused]] const ssize_t written
            = ::write(STDERR_FILENO, line.constData(), size_t(line.size()));
    }
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

const QLoggingCategory& Log::category(const char* area)
{
    static auto* const areas = new GrowingList<Area>;
    const QByteArray name
        = QByteArray(applicationIdentifier.data(), applicationIdentifier.size()) + '.' + area;
    return areas->findOrAdd([&name](const Area& known) { return known.name == name; }, name).first->category;
}

QString Log::escaped(const QString& value)
{
    return QString::fromUtf8(escapedUtf8(value, valueLimit));
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
    static auto* const told = new GrowingList<QString>;
    if (told->findOrAdd([&message](const QString& known) { return known == message; }, message).second)
        warning(area, message);
}

void Log::install()
{
    qInstallMessageHandler(handleMessage);
}

} // namespace kestrum
