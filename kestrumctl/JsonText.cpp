// SPDX-License-Identifier: MIT
#include "kestrumctl/JsonText.h"

#include "Platform/Log/Log.h"
#include "Platform/Store/SettingsText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace kestrum {

// Qt reads and writes only lists and objects, so other values are put into a list.

QByteArray JsonText::compact(const QJsonValue& value)
{
    const QByteArray list = QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact);
    return list.mid(1, list.size() - 2);
}

QString JsonText::shortened(const QJsonValue& value)
{
    constexpr qsizetype longest = 60;
    const QString text = Log::escaped(QString::fromUtf8(compact(value)));
    return text.size() <= longest ? text : text.left(longest) + QStringLiteral("…");
}

Result<QJsonValue> JsonText::parsed(const QString& text)
{
    QJsonParseError problem;
    const QJsonArray list = QJsonDocument::fromJson('[' + text.toUtf8() + ']', &problem).array();
    if (problem.error != QJsonParseError::NoError || list.size() != 1) {
        const QString reason = problem.error == QJsonParseError::NoError
            ? QStringLiteral("it holds %1 values instead of one").arg(list.size())
            : problem.errorString();
        return Failure::withReason(QStringLiteral(
            "\"%1\" is no JSON value: %2 (a text stands in double quotes, inside the shell's own)")
                                       .arg(Log::escaped(text), reason));
    }
    const QJsonValue value = list.first();
    // The value is written and read like a settings file, so that only values within the store's limits are accepted.
    const auto readBack
        = SettingsText::parsed(SettingsText::serialised({ { QStringLiteral("value"), value } }));
    if (!readBack.damage.isEmpty())
        return Failure::withReason(QStringLiteral("the value cannot be a setting: ") + readBack.damage);
    return readBack.values.value(QStringLiteral("value"));
}

} // namespace kestrum
