#pragma once

#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Kestrumctl.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <cmath>

namespace kestrum {

/// The strip's description that the built program prints; empty when the program fails.
inline QJsonObject described(const char* options = "")
{
    const auto result = ctl("describe", words(options));
    return result.code == 0 ? QJsonDocument::fromJson(result.output).object() : QJsonObject();
}

/// The entry of one item in a strip's description; empty when there is none.
inline QJsonObject item(const QJsonObject& strip, MonitorSection section)
{
    for (const QJsonValue& value : strip.value(QStringLiteral("items")).toArray()) {
        if (value[QStringLiteral("section")].toString() == rawValue(section))
            return value.toObject();
    }
    return {};
}

/// The number called `name` in a description; NaN when there is none.
inline double number(const QJsonObject& object, const char* name)
{
    return object.value(QLatin1StringView(name)).toDouble(std::nan(""));
}

template <class K, class V> void set(const K& key, const V& value)
{
    QVERIFY(Setting(key).set(value));
}

} // namespace kestrum
