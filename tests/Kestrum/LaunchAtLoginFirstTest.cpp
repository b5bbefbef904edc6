// SPDX-License-Identifier: MIT
#include "Kestrum/Agent/LaunchAtLoginSection.h"
#include "Kestrum/Form/Switch.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/LoginItemFixture.h"
#include "tests/Support/Widgets.h"

#include <QApplication>
#include <QTest>
#include <QVBoxLayout>

using namespace kestrum;

/// The first reading of the login item in a process. No other test can be in this class: the state stays known.
class LaunchAtLoginFirstTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aSectionThatReplacesOneThatAskedShowsItsSwitch()
    {
        const LoginItemFixture fixture;
        registerFactoryDefaults();
        QWidget window;
        QVBoxLayout layout(&window);
        activate(window);
        // The first section goes before it gets the answer, as when the font changes while its page opens.
        auto* first = new LaunchAtLoginSection;
        layout.addWidget(first);
        QCoreApplication::sendPostedEvents(); // shows it
        QVERIFY(first->isVisible());
        delete first;
        auto* second = new LaunchAtLoginSection;
        layout.addWidget(second);
        const auto* toggle = second->findChild<Switch*>();
        QVERIFY(!toggle->isVisible());
        QTRY_VERIFY(toggle->isVisible());
        QVERIFY(!toggle->isChecked());
    }
};

KESTRUM_TEST_MAIN(QApplication, LaunchAtLoginFirstTest)
#include "LaunchAtLoginFirstTest.moc"
