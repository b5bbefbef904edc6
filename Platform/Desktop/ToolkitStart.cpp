// SPDX-License-Identifier: MIT
#include "Platform/Desktop/ToolkitStart.h"

#include "Platform/Desktop/DesktopBus.h"

#include <QDBusVariant>
#include <QString>
#include <sys/stat.h>

namespace kestrum {

namespace {

constexpr char runtimeVariable[] = "XDG_RUNTIME_DIR";

QtMessageHandler formerHandler = nullptr;

// We report problems of the runtime directory ourselves, and only where a feature of ours needs it.
void passOn(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (formerHandler && !message.startsWith(QLatin1StringView("QStandardPaths: ")))
        formerHandler(type, context, message);
}

} // namespace

ToolkitStart::Nowhere::Nowhere(const char* variable)
    : m_variable(variable)
{
    if (qEnvironmentVariableIsSet(variable))
        m_before = qgetenv(variable);
    qputenv(variable, "/dev/null"); // nothing can be made below it
}

ToolkitStart::Nowhere::~Nowhere()
{
    if (m_before)
        qputenv(m_variable, *m_before);
    else
        qunsetenv(m_variable);
}

ToolkitStart::ToolkitStart()
    // Where the toolkit makes a runtime directory when it rejects the session's.
    : m_temporaryDirectory("TMPDIR")
{
    DesktopBus::nameToToolkit();
    // The toolkit's own listener to the desktop's fonts starts with the application object, and is refused without this
    // type.
    qRegisterMetaType<QDBusVariant>();
    // The toolkit would create a missing one. Any other stays named, as the display's socket may be in it.
    struct stat info { };
    const QByteArray named = qgetenv(runtimeVariable);
    if (!named.isEmpty() && ::stat(named.constData(), &info) != 0)
        m_runtimeDirectory.emplace(runtimeVariable);
    formerHandler = qInstallMessageHandler(passOn);
}

ToolkitStart::~ToolkitStart()
{
    qInstallMessageHandler(formerHandler);
}

} // namespace kestrum
