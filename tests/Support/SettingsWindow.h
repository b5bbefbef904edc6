#pragma once

#include "Kestrum/Window/SaveNotice.h"
#include "Kestrum/Window/SettingsView.h"
#include "Kestrum/Window/Sidebar.h"
#include "Kestrum/Window/SplitView.h"
#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FreshSettings.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTest>

namespace kestrum {

/// The settings window, shown and active, and its parts.
struct SettingsWindow {
    SettingsView view;

    /// What the program does before it shows its window: the built bundle, its style, its defaults.
    static void prepareProgram()
    {
        QApplication::setStyle(QStringLiteral("fusion"));
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        registerFactoryDefaults();
    }
    /// What every test begins with: nothing stored.
    static void prepare()
    {
        forgetSettings();
        QTest::qWait(20); // let the notice of it pass
    }

    SettingsWindow()
    {
        view.resize(640, 520);
        view.show();
        view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&view));
        QTest::qWait(10); // the probe's turn
    }
    Sidebar& sidebar() { return *view.findChild<Sidebar*>(); }
    SplitView& split() { return *view.findChild<SplitView*>(); }
    SaveNotice& notice() { return *view.findChild<SaveNotice*>(); }
    int sidebarWidth() { return split().sizes().first(); }

    void dragDividerTo(int x)
    {
        QSplitterHandle* divider = split().handle(1);
        const QPoint grabbed = divider->rect().center();
        QTest::mousePress(divider, Qt::LeftButton, {}, grabbed);
        const QPoint target = divider->mapFrom(&view, QPoint(x, 100));
        QMouseEvent move(QEvent::MouseMove, target, divider->mapToGlobal(target), Qt::NoButton,
            Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(divider, &move);
        QTest::mouseRelease(divider, Qt::LeftButton, {}, divider->rect().center());
    }
};

} // namespace kestrum
