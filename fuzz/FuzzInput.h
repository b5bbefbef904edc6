// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

namespace kestrum {

/// Takes values from an input, one after the other. After the end, all numbers are 0 and all texts empty. The same input gives
/// the same values.
class FuzzInput {
public:
    explicit FuzzInput(std::string_view input)
        : m_rest(input)
    {
    }

    bool isAtEnd() const { return m_rest.empty(); }

    quint8 byte()
    {
        const std::string_view taken = take(1);
        return taken.empty() ? quint8(0) : quint8(taken[0]);
    }

    /// A number from 0 to `count` - 1.
    int bounded(int count) { return byte() % count; }

    int whole()
    {
        static constexpr int numbers[] = { 0, 1, -1, 40, 700, 100'000, std::numeric_limits<int>::max(),
            std::numeric_limits<int>::min() };
        const int choice = bounded(int(std::size(numbers)) + 1);
        return choice < int(std::size(numbers)) ? numbers[choice] : raw<int>();
    }

    double number()
    {
        static constexpr double numbers[] = { 0, -1, 5, 15, 150, 1e300, -1e300,
            std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity() };
        const int choice = bounded(int(std::size(numbers)) + 1);
        return choice < int(std::size(numbers)) ? numbers[choice] : raw<double>();
    }

    /// One of `known`, or any other text.
    QString text(const QStringList& known)
    {
        const int choice = bounded(int(known.size()) + 1);
        if (choice < known.size())
            return known[choice];
        const std::string_view taken = take(byte());
        return QString::fromUtf8(taken.data(), qsizetype(taken.size()));
    }

    /// A value of any type that comes over a bus.
    QVariant value(const QStringList& known)
    {
        switch (bounded(8)) {
        case 0:
            return text(known);
        case 1:
            return number();
        case 2:
            return raw<quint32>();
        case 3:
            return raw<qint64>();
        case 4:
            return bool(bounded(2));
        case 5:
            return QByteArray(byte(), 'x');
        case 6:
            return QStringList { text(known), text(known) };
        default:
            return QVariantMap { { text(known), QVariantMap { { text(known), number() } } } };
        }
    }

    /// A map whose keys are mostly of `keys`.
    QVariantMap map(const QStringList& keys, const QStringList& known)
    {
        QVariantMap result;
        for (int count = bounded(5); count > 0; --count) {
            const QString key = text(keys);
            result.insert(key, bounded(2) ? QVariant(number()) : value(known));
        }
        return result;
    }

private:
    std::string_view take(std::size_t size)
    {
        const std::string_view taken = m_rest.substr(0, size);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    template <class Number> Number raw()
    {
        Number number = 0;
        const std::string_view taken = take(sizeof number);
        std::memcpy(&number, taken.data(), taken.size());
        return number;
    }

    std::string_view m_rest;
};

} // namespace kestrum
