#pragma once

#include "tests/Support/BridgeClient.h"

#include <QRandomGenerator>
#include <cmath>
#include <limits>
#include <utility>

namespace kestrum {

/// Random calls of every method that bridges may call, with values that are right, nearly right and wrong. The same seed gives
/// the same calls.
class BridgeRubbish {
public:
    static constexpr const char* methods[] = { "Attach", "Look", "Detach", "OpenPopover", "ClosePopover",
        "Pointer", "Key", "ShowPopover", "Actions", "Choose", "Reorder" };

    /// So many calls: KESTRUM_RUBBISH_CALLS, or else 110. Many also need a larger QTEST_FUNCTION_TIMEOUT.
    static int calls()
    {
        const int wanted = qEnvironmentVariableIntValue("KESTRUM_RUBBISH_CALLS");
        return wanted > 0 ? wanted : 10 * int(std::size(methods));
    }

    BridgeRubbish(BridgeClient& client, quint32 seed)
        : m_client(client)
        , m_random(seed)
    {
    }

    /// Makes `count` calls, as many of each method. Returns how many got an answer, an error too.
    int call(int count)
    {
        int answers = 0;
        for (int i = 0; i < count; ++i) {
            const char* method = methods[m_next++ % std::size(methods)];
            // One in eight has arguments of no method at all.
            const QVariantList values
                = m_random.bounded(8) ? arguments(QLatin1StringView(method)) : QVariantList { any(), any() };
            const QDBusMessage answer = m_client.call(method, values);
            answers += answer.errorName() != QLatin1StringView("org.freedesktop.DBus.Error.NoReply")
                && answer.type() != QDBusMessage::InvalidMessage;
            if (qstrcmp(method, "Attach") == 0 && answer.type() == QDBusMessage::ReplyMessage)
                m_numbers.append(answer.arguments().value(0).toUInt());
            if (qstrcmp(method, "Detach") == 0 && answer.type() == QDBusMessage::ReplyMessage)
                m_numbers.removeAll(values.value(0).toUInt());
        }
        return answers;
    }

    /// Detaches all that has been attached.
    void detachAll()
    {
        for (const uint number : std::exchange(m_numbers, {}))
            (void)m_client.call("Detach", { number });
    }

private:
    QString text()
    {
        static const QStringList texts { {}, QStringLiteral("cpu"), QStringLiteral("memory"),
            QStringLiteral("storage"), QStringLiteral("sensors"), QStringLiteral("move"),
            QStringLiteral("press"), QStringLiteral("release"), QStringLiteral("scroll"),
            QStringLiteral("leave"), QStringLiteral("Tab"), QStringLiteral("Shift+Tab"),
            QStringLiteral("Esc"), QStringLiteral("Ctrl+"), QStringLiteral("Up"), QStringLiteral("Right"),
            QStringLiteral("Space"), QStringLiteral("move-left"), QStringLiteral("settings"),
            QString(5000, u'\u0301'), QString(100'000, u'x'), QStringLiteral("#zzzzzz"),
            QStringLiteral("#123456"), QStringLiteral("%1%n\n\t"), QStringLiteral("a,b"),
            QStringLiteral("nothing") };
        return texts[m_random.bounded(texts.size())];
    }
    double number()
    {
        static const double numbers[]
            = { 0, -1, 5, 15, 150, 1e300, -1e300, std::nan(""), std::numeric_limits<double>::infinity() };
        return numbers[m_random.bounded(int(std::size(numbers)))];
    }
    int whole()
    {
        static const int numbers[] = { 0, 1, -1, 40, 700, 100'000, std::numeric_limits<int>::max(),
            std::numeric_limits<int>::min() };
        return numbers[m_random.bounded(int(std::size(numbers)))];
    }
    QVariant any()
    {
        switch (m_random.bounded(6)) {
        case 0:
            return text();
        case 1:
            return number();
        case 2:
            return m_random.generate();
        case 3:
            return QByteArray(m_random.bounded(20'000), 'x');
        case 4:
            return QStringList { text(), text() };
        default:
            return QVariantMap { { text(), QVariantMap { { text(), number() } } } };
        }
    }
    QVariant look()
    {
        return QVariantMap { { QStringLiteral("scale"), m_random.bounded(8) ? QVariant(0.5) : any() },
            { QStringLiteral("room"), m_random.bounded(2) ? QVariant(number()) : any() },
            { QStringLiteral("foreground"), m_random.bounded(2) ? QVariant(text()) : any() },
            { text(), any() } };
    }
    /// Mostly one that is attached.
    QVariant bridge()
    {
        if (m_numbers.isEmpty() || m_random.bounded(4) == 0)
            return m_random.generate();
        return m_numbers[m_random.bounded(m_numbers.size())];
    }

    QVariantList arguments(QLatin1StringView method)
    {
        if (method == QLatin1StringView("Attach"))
            return { text(), look() };
        if (method == QLatin1StringView("Look"))
            return { bridge(), look() };
        if (method == QLatin1StringView("OpenPopover"))
            return { bridge(), text(), look() };
        if (method == QLatin1StringView("Pointer"))
            return { bridge(), text(), number(), number(), number() };
        if (method == QLatin1StringView("Key"))
            return { bridge(), text() };
        if (method == QLatin1StringView("ShowPopover"))
            return { bridge(), text(), QRect(QPoint(whole(), whole()), QPoint(whole(), whole())), text() };
        if (method == QLatin1StringView("Actions"))
            return { text() };
        if (method == QLatin1StringView("Choose"))
            return { text(), text(), text() };
        if (method == QLatin1StringView("Reorder"))
            return { QStringList { text(), text(), text(), text() } };
        return { bridge() }; // Detach, ClosePopover
    }

    BridgeClient& m_client;
    QRandomGenerator m_random;
    size_t m_next = 0;
    QList<uint> m_numbers;
};

} // namespace kestrum
