// SPDX-License-Identifier: MIT
#include "ActivationToken.h"
#include "AgentClient.h"
#include "Picture.h"

#include <QQmlExtensionPlugin>
#include <qqml.h>

namespace kestrum {

/// Lets the widget's QML files use the types of this folder.
class Plugin final : public QQmlExtensionPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)
public:
    void registerTypes(const char* uri) override
    {
        qmlRegisterType<AgentClient>(uri, 1, 0, "AgentClient");
        qmlRegisterType<Picture>(uri, 1, 0, "Picture");
        qmlRegisterType<ActivationToken>(uri, 1, 0, "ActivationToken");
    }
};

} // namespace kestrum

#include "Plugin.moc"
