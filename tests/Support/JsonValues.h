// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QString>
#include <initializer_list>
#include <utility>

namespace kestrum {

inline QJsonObject json(std::initializer_list<std::pair<const char*, QJsonValue>> members)
{
    QJsonObject object;
    for (const auto& [key, value] : members)
        object.insert(QString::fromUtf8(key), value);
    return object;
}

} // namespace kestrum
