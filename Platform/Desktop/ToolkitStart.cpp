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

// Drops the toolkit's messages about the runtime directory. This process logs problems of the directory itself, and only
// when a feature needs the directory.
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
    qputenv(variable, "/dev/null"); // nothing can be created below this path
}

ToolkitStart::Nowhere::~Nowhere()
{
    if (m_before)
        qputenv(m_variable, *m_before);
    else
        qunsetenv(m_variable);
}

ToolkitStart::ToolkitStart()
    // The toolkit creates a runtime directory below "TMPDIR" when it rejects the session's runtime directory.
    : m_temporaryDirectory("TMPDIR")
{
    DesktopBus::nameToToolkit();
    // The application object starts the toolkit's own listener for changes of the desktop's fonts. The bus library
    // refuses this listener unless `QDBusVariant` is registered.
    qRegisterMetaType<QDBusVariant>();
    // The toolkit would create a missing runtime directory. An existing directory must stay in the variable, because it
    // may contain the display's socket.
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
