// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/LoginItemPolicy.h"

#include <QCoreApplication>
#include <QProcessEnvironment>

namespace kestrum {

bool LoginItemPolicy::isSuppressed(const QMap<QString, QString>& environment, const QStringList& arguments)
{
    const auto isOne = [&environment](const char* variable) {
        return environment.value(QLatin1StringView(variable)) == QLatin1StringView("1");
    };
    return isOne("KESTRUM_NO_LOGIN_ITEM") || isOne("KESTRUM_UI_TESTING")
        || environment.contains(QStringLiteral("XCTestConfigurationFilePath"))
        || arguments.contains(QLatin1StringView(suppressingArgument));
}

bool LoginItemPolicy::isSuppressedHere()
{
    const QProcessEnvironment own = QProcessEnvironment::systemEnvironment();
    QMap<QString, QString> environment;
    for (const QString& name : own.keys())
        environment.insert(name, own.value(name));
    return isSuppressed(environment, QCoreApplication::arguments());
}

bool LoginItemPolicy::isTranslocated(const QString& path)
{
    return path.contains(QStringLiteral("/AppTranslocation/"));
}

} // namespace kestrum
