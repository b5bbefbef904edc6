// SPDX-License-Identifier: MIT
#include "Kestrum/KestrumApp.h"

#include "Kestrum/Form/Theme.h"
#include "Kestrum/Window/SettingsView.h"
#include "Platform/Bundle/Bundle.h"
#include "Platform/Desktop/ToolkitTexts.h"
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Log/Identifier.h"

#include <QAccessibleObject>
#include <QIcon>
#include <QScreen>
#include <QTimer>
#include <utility>

namespace kestrum {

namespace {

constexpr QSize defaultSize { 640, 520 };

/// The icon for X11, whose windows bring their own. Elsewhere the desktop entry names it, and the pictures are never read.
QIcon windowIcon()
{
    QIcon icon;
    for (const int size : { 32, 128 })
        icon.addFile(
            QStringLiteral("%1/Icon/%2.png").arg(Bundle::main().resourcePath()).arg(size), { size, size });
    return icon;
}

/// Gives assistive programs the application's display name. Qt alone would give them an identifier, the application name.
class AccessibleApplication final : public QAccessibleApplication {
public:
    static void install()
    {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            return object == qApp ? new AccessibleApplication : nullptr;
        });
    }

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? QGuiApplication::applicationDisplayName()
                                         : QAccessibleApplication::text(kind);
    }
};

} // namespace

KestrumApp::KestrumApp(int& argc, char** argv, SettingsAppDelegate::Run run)
    : QApplication(argc, argv)
    , m_delegate(run)
    , m_activationToken(WindowActivation::takeToken())
    , m_isInBackground(WindowActivation::takeIsInBackground())
{
    AccessibleApplication::install();
    setApplicationName(applicationIdentifier);
    setApplicationDisplayName(QStringLiteral("Kestrum"));
    setApplicationVersion(QStringLiteral(KESTRUM_VERSION));
    setDesktopFileName(applicationIdentifier);
    setWindowIcon(kestrum::windowIcon());
    ToolkitTexts::install();
    // The Fusion style paints with the palette's colours only. The styles of desktops have their own backgrounds and borders.
    setStyle(QStringLiteral("fusion"));
}

KestrumApp::~KestrumApp() = default;

void KestrumApp::launch()
{
    connect(&m_delegate, &SettingsAppDelegate::reopenRequested, this, &KestrumApp::openWindow);
    m_delegate.applicationDidFinishLaunching();
    setFont(Theme::font(Theme::TextStyle::body));
    openWindow();
}

void KestrumApp::openWindow()
{
    m_window = std::make_unique<SettingsView>();
    m_window->setWindowTitle(QStringLiteral("Kestrum"));
    m_window->setObjectName(QStringLiteral("main"));
    m_window->resize(defaultSize);
    if (const QScreen* screen = primaryScreen())
        m_window->move(screen->availableGeometry().center() - m_window->rect().center());
    m_window->setAttribute(Qt::WA_ShowWithoutActivating, m_isInBackground);
    m_window->installEventFilter(this);
    m_window->show();
}

bool KestrumApp::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_window.get() && event->type() == QEvent::Paint) {
        m_window->removeEventFilter(this);
        // The frame is shown after this event has been handled.
        QTimer::singleShot(0, this, [this] {
            m_delegate.windowWasShown();
            // Qt does not use the activation token for the first window.
            if (const QByteArray token = std::exchange(m_activationToken, {}); !token.isEmpty())
                SettingsAppDelegate::bringForward(token);
            Q_EMIT windowShown();
        });
    }
    return QApplication::eventFilter(watched, event);
}

} // namespace kestrum
