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

/// The settings window with its parts, shown and active.
struct SettingsWindow {
    SettingsView view;

    /// Prepares the program as before its window: the built bundle, the style and the defaults.
    static void prepareProgram()
    {
        QApplication::setStyle(QStringLiteral("fusion"));
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        registerFactoryDefaults();
    }
    /// The state before every test: nothing is stored.
    static void prepare()
    {
        forgetSettings();
        QTest::qWait(20); // until its change notice has passed
    }

    SettingsWindow()
    {
        view.resize(640, 520);
        view.show();
        view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&view));
        QTest::qWait(10); // let the probe run
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
