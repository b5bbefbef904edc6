// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Window/SettingsPage.h"
#include "KestrumShared/Settings/Keys.h"
#include "tests/Support/Text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QStringList>

namespace kestrum {

/// Random lines "KEY [VALUE]" for a process that stores them. The value is a valid value of the key, another value of the same
/// type, or a value of any type. A line without a value removes the key. The same seed gives the same lines.
class RandomWrites {
public:
    /// Lines for all keys but those in `without`.
    explicit RandomWrites(quint32 seed, const QStringList& without = {})
        : m_keys(allKeys())
        , m_random(seed)
    {
        m_keys.removeIf([&](const QString& key) { return without.contains(key); });
    }

    QByteArray line()
    {
        const QString key = m_keys[m_random.bounded(m_keys.size())];
        const QJsonArray values = this->values(key);
        const int choice = m_random.bounded(int(values.size()) + 1);
        if (choice == int(values.size()))
            return key.toUtf8();
        return lineOf(key, values[choice]);
    }

    static QByteArray lineOf(const QString& key, const QJsonValue& value)
    {
        return key.toUtf8() + ' ' + QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact);
    }

    static QStringList allKeys()
    {
        QStringList names;
        const auto add = [&names](const auto&... key) { (names.append(QLatin1StringView(key.name)), ...); };
        std::apply(add, Keys::registered);
        std::apply(add, Keys::unregistered);
        return names;
    }

private:
    static QJsonArray values(const QString& key)
    {
        QJsonArray values { true, false, 0, 2, 5.0, -1, 1e300, QString(), text("off"), text("usage"),
            text("Off"), text("system"), text("nonsense"), text("custom:srgb:0.2000,0.4000,0.9000"),
            text("custom:srgb:x"), QJsonArray { 1, 2 }, QJsonValue(QJsonValue::Null) };
        const auto add = [&values](std::initializer_list<const char*> texts) {
            for (const char* one : texts)
                values.append(QLatin1StringView(one));
        };
        if (key == QLatin1StringView(Keys::settingsPane.name)) {
            for (const auto& page : allCases<SettingsPage>())
                add({ page.rawValue });
        } else if (key == QLatin1StringView(Keys::language.name))
            add({ "en", "de", "ar", "ja" });
        else if (key == QLatin1StringView(Keys::menuBarOrder.name))
            add({ "cpu,memory,storage,sensors", "sensors,cpu", "cpu,cpu,nonsense" });
        else if (key.endsWith(QLatin1String("Accent")) || key == QLatin1StringView(Keys::accentChoice.name))
            add({ "indigo", "amber", "teal", "custom" });
        else
            add({ "bars", "wave", "compact", "pill", "square", "icons", "letters", "temperature", "power",
                "hottest", "light", "dark", "opaque", "celsius", "fahrenheit", "9.9 (999999)" });
        return values;
    }

    QStringList m_keys;
    QRandomGenerator m_random;
};

} // namespace kestrum
