#include "Kestrum/Agent/LaunchAtLoginSection.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "Kestrum/Form/Switch.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/HeardEvents.h"
#include "tests/Support/LoginItemFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/Widgets.h"

#include <QVBoxLayout>

using namespace kestrum;
using Status = LoginItemService::Status;

class LaunchAtLoginSectionTest : public QObject {
    Q_OBJECT

    struct Shown {
        QWidget window;
        LaunchAtLoginSection* section = new LaunchAtLoginSection;
        QList<Row*> rows = section->findChildren<Row*>();
        Switch* toggle = section->findChild<Switch*>();
        PushButton* button = section->findChild<PushButton*>();

        Shown()
        {
            window.setPalette(Theme::palette(ColourScheme::light));
            auto* layout = new QVBoxLayout(&window);
            layout->addWidget(section);
            layout->addStretch(1);
            window.resize(420, 300);
        }
        void show() { activate(window); }
        void showAndRead()
        {
            show();
            QTest::qWait(50); // until the state has been read
        }
        bool needsApproval() const { return !rows[1]->isHidden(); }
        QString status() const { return rows[2]->isHidden() ? QString() : rows[2]->text(); }
        QColor statusColour() const
        {
            const auto* label = rows[2]->findChild<QLabel*>();
            return label->palette().color(label->foregroundRole());
        }
    };

    static QColor shade(Theme::Colour colour) { return Theme::colour(colour, ColourScheme::light); }

private Q_SLOTS:
    void initTestCase()
    {
        QApplication::setStyle(QStringLiteral("fusion"));
        SystemAppearance::shared().setScheme(ColourScheme::light);
        m_fixture = std::make_unique<LoginItemFixture>();
        registerFactoryDefaults();
    }
    void init()
    {
        LoginItemFixture::clear();
        forgetSettings();
    }
    void cleanupTestCase() { m_fixture.reset(); }

    // This test is the first one: once known, the state stays known until the process ends.
    void untilTheStateIsKnownTheSwitchKeepsItsRoomUnseen()
    {
        QVERIFY(m_fixture->service().registerItem());
        Shown shown;
        shown.window.show();
        QVERIFY(!shown.toggle->isVisible());
        QCOMPARE(shown.rows[0]->text(), QStringLiteral("Launch Kestrum at login"));
        const QSize size = shown.rows[0]->size();
        QTRY_VERIFY(shown.toggle->isVisible());
        QVERIFY(shown.toggle->isChecked() && shown.toggle->isEnabled());
        QCOMPARE(shown.rows[0]->size(), size);
        QCOMPARE(shown.status(), QString());
        QVERIFY(!shown.needsApproval());
    }

    void aSecondSectionShowsTheKnownStateAtOnce()
    {
        QVERIFY(m_fixture->service().registerItem());
        Shown first;
        first.showAndRead(); // else it could be an earlier reading that says so
        QTRY_VERIFY(first.toggle->isChecked());
        Shown second;
        second.window.show();
        QVERIFY(second.toggle->isVisible());
        QVERIFY(second.toggle->isChecked());
    }

    void aSectionThatComesIntoAnActiveWindowReadsTheState()
    {
        // A section appears in the active window when its page is chosen.
        Shown before;
        before.showAndRead();
        QTRY_VERIFY(!before.toggle->isChecked());
        QVERIFY(m_fixture->service().registerItem());
        auto* section = new LaunchAtLoginSection;
        before.window.layout()->addWidget(section);
        QTRY_VERIFY(section->findChild<Switch*>()->isChecked());
        QVERIFY(!before.toggle->isChecked());
    }

    void eachStateIsShown_data()
    {
        addRows<QByteArray, bool, bool>({ { "notRegistered", "", false, false },
            { "enabled", "X-Mine=1", true, false }, { "requiresApproval", "Hidden=true", true, true },
            { "notFound", "TryExec=/nowhere", false, false } });
    }
    void eachStateIsShown()
    {
        const auto [line, isOn, needsApproval] = thisRow<QByteArray, bool, bool>();
        if (!line.isEmpty()) {
            QVERIFY(m_fixture->service().registerItem());
            write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + line + '\n');
        }
        Shown shown;
        shown.showAndRead();
        QTRY_COMPARE(shown.toggle->isChecked(), isOn);
        QTRY_COMPARE(shown.needsApproval(), needsApproval);
        QVERIFY(shown.toggle->isEnabled() && shown.toggle->isVisible());
        QCOMPARE(shown.status(), QString());
    }

    void approvalIsAskedForWithTheWayToTheSettings()
    {
        QVERIFY(m_fixture->service().registerItem());
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + "Hidden=true\n");
        Shown shown;
        shown.show();
        QTRY_VERIFY(shown.needsApproval());
        QCOMPARE(shown.rows[1]->text(), QStringLiteral("Turned off under Allow in the Background."));
        QCOMPARE(shown.button->text(), QStringLiteral("Open Login Items…"));
        const auto* label = shown.rows[1]->findChild<QLabel*>();
        QCOMPARE(label->palette().color(label->foregroundRole()), shade(Theme::Colour::secondaryText));

        const FileTree programs;
        const QString settings = programs.path(QStringLiteral("xfce4-session-settings"));
        LoginItemFixture::makeProgram(settings);
        // Somebody else may have put a program into the current folder.
        LoginItemFixture::makeProgram(programs.path(QStringLiteral("planted/xfce4-session-settings")));
        const QString folder = QDir::currentPath();
        QVERIFY(QDir::setCurrent(programs.root()));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "planted:" + QFile::encodeName(programs.root()) + ":/bin:/usr/bin");
        qputenv("XDG_CURRENT_DESKTOP", "Own:XFCE");
        QTest::mouseClick(shown.button, Qt::LeftButton);
        QVERIFY(QDir::setCurrent(folder));
        qputenv("PATH", path);
        qunsetenv("XDG_CURRENT_DESKTOP");
        QTRY_COMPARE(contentOf(LoginItemFixture::startedFile()), QFile::encodeName(settings));
    }

    void itsRowsStandBelowTheHeadingInTheirOrder()
    {
        QVERIFY(m_fixture->service().registerItem());
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + "Hidden=true\n");
        Shown shown;
        shown.show();
        QTRY_VERIFY(shown.needsApproval());
        // With a block, all three rows are visible.
        qputenv("KESTRUM_NO_LOGIN_ITEM", "1");
        reactivate(shown);
        QTRY_COMPARE(shown.status(), QStringLiteral("Login items are disabled in this build."));
        QVERIFY(shown.needsApproval());
        settle();
        QMap<int, QString> texts;
        for (const QLabel* label : shown.section->findChildren<QLabel*>()) {
            if (label->isVisible())
                texts.insert(label->mapTo(shown.section, QPoint()).y(), label->text());
        }
        qunsetenv("KESTRUM_NO_LOGIN_ITEM");
        QCOMPARE(texts.values().join(u'|'),
            QStringLiteral("Startup|Launch Kestrum at login|Turned off under Allow in the Background.|"
                           "Login items are disabled in this build."));
        QCOMPARE(shown.section->accessibleName(), QStringLiteral("Startup"));
    }

    void assistiveProgramsAreToldOfAnErrorOnce()
    {
        Shown shown;
        shown.showAndRead();
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        const HeardEvents ears;
        shown.toggle->click();
        QTRY_VERIFY(!shown.status().isEmpty());
        QTRY_VERIFY(!shown.toggle->isChecked());
        const auto alerts = HeardEvents::taken(QAccessible::Alert);
        QCOMPARE(alerts.size(), 1);
        QCOMPARE(alerts[0].object, shown.rows[2]);
        // A window that becomes active again does not announce the error a second time.
        reactivate(shown);
        QTest::qWait(50);
        QVERIFY(!shown.status().isEmpty());
        QCOMPARE(HeardEvents::taken(QAccessible::Alert).size(), 0);
    }

    void turningTheSwitchRegistersAndRemoves()
    {
        Shown shown;
        shown.showAndRead();
        QTRY_VERIFY(!shown.toggle->isChecked());
        QTest::mouseClick(shown.toggle, Qt::LeftButton);
        QVERIFY(shown.toggle->isChecked());
        QTRY_COMPARE(m_fixture->service().status(), Status::enabled);
        QTest::qWait(50);
        QVERIFY(shown.toggle->isChecked());
        QTest::keyClick(shown.toggle, Qt::Key_Space);
        QTRY_COMPARE(m_fixture->service().status(), Status::notRegistered);
        QTest::qWait(50);
        QVERIFY(!shown.toggle->isChecked());
    }

    void assistiveProgramsTurnItToo()
    {
        Shown shown;
        shown.showAndRead();
        QTRY_VERIFY(!shown.toggle->isChecked());
        QAccessible::queryAccessibleInterface(shown.toggle)
            ->actionInterface()
            ->doAction(QAccessibleActionInterface::toggleAction());
        QTRY_COMPARE(m_fixture->service().status(), Status::enabled);
    }

    void theSwitchDoesNotSlideHere()
    {
        Shown shown;
        shown.showAndRead();
        const QImage off = shown.toggle->grab().toImage();
        shown.toggle->click();
        const QImage on = shown.toggle->grab().toImage();
        QVERIFY(on != off);
        QTest::qWait(200);
        QCOMPARE(shown.toggle->grab().toImage(), on);
    }

    void anErrorIsShownInRedAndTheSwitchGoesBack()
    {
        Shown shown;
        shown.showAndRead();
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        shown.toggle->click();
        QVERIFY(shown.toggle->isChecked());
        QTRY_COMPARE(shown.status(), QStringLiteral("Kestrum is not allowed to run in the background."));
        QCOMPARE(shown.statusColour(), shade(Theme::Colour::error));
        QTRY_VERIFY(!shown.toggle->isChecked());
        // The message of a block replaces the message of the error.
        qputenv("KESTRUM_NO_LOGIN_ITEM", "1");
        reactivate(shown);
        QTRY_COMPARE(shown.status(), QStringLiteral("Login items are disabled in this build."));
        QCOMPARE(shown.statusColour(), shade(Theme::Colour::secondaryText));
        qunsetenv("KESTRUM_NO_LOGIN_ITEM");
        reactivate(shown);
        QTRY_COMPARE(shown.status(), QStringLiteral("Kestrum is not allowed to run in the background."));
        QCOMPARE(shown.statusColour(), shade(Theme::Colour::error));
    }

    void anErrorOfSwitchingOffIsShownToo()
    {
        QVERIFY(m_fixture->service().registerItem());
        Shown shown;
        shown.showAndRead();
        QTRY_VERIFY(shown.toggle->isChecked());
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        shown.toggle->click();
        QVERIFY(!shown.toggle->isChecked());
        QTRY_COMPARE(shown.status(), QStringLiteral("Kestrum is not allowed to run in the background."));
        QTRY_VERIFY(shown.toggle->isChecked());
    }

    void eachBlockDisablesTheSwitchAndSaysWhy_data()
    {
        constexpr char suppressed[] = "Login items are disabled in this build.";
        addRows<QByteArray, QString, QString>({
            { "KESTRUM_NO_LOGIN_ITEM", "KESTRUM_NO_LOGIN_ITEM", "", suppressed },
            { "KESTRUM_UI_TESTING", "KESTRUM_UI_TESTING", "", suppressed },
            { "XCTestConfigurationFilePath", "XCTestConfigurationFilePath", "", suppressed },
            { "translocated, and without its agent", "", "/AppTranslocation/1/Kestrum.app",
                "Move Kestrum to your Applications folder first." },
            { "incomplete", "", "/nowhere/Kestrum.app", "This copy of Kestrum is incomplete." },
        });
    }
    void eachBlockDisablesTheSwitchAndSaysWhy()
    {
        const auto [variable, bundle, message] = thisRow<QByteArray, QString, QString>();
        QVERIFY(m_fixture->service().registerItem());
        const Bundle before = Bundle::main();
        if (!bundle.isEmpty())
            Bundle::setMain(Bundle(bundle));
        if (!variable.isEmpty())
            qputenv(variable.constData(), "1");
        {
            Shown shown;
            shown.show();
            QVERIFY(!shown.toggle->isEnabled());
            QCOMPARE(shown.status(), message);
            QCOMPARE(shown.statusColour(), shade(Theme::Colour::secondaryText));
            // The disabled switch still shows the real state.
            QTRY_VERIFY(shown.toggle->isChecked());
            QTest::mouseClick(shown.toggle, Qt::LeftButton);
            QVERIFY(shown.toggle->isChecked());
        }
        Bundle::setMain(before);
        if (!variable.isEmpty())
            qunsetenv(variable.constData());
        QCOMPARE(m_fixture->service().status(), Status::enabled);
    }

    void aBlockThatCameMeanwhileTurnsTheSwitchBack()
    {
        Shown shown;
        shown.showAndRead();
        qputenv("KESTRUM_NO_LOGIN_ITEM", "1");
        shown.toggle->click();
        qunsetenv("KESTRUM_NO_LOGIN_ITEM");
        QVERIFY(!shown.toggle->isChecked());
        QVERIFY(!shown.toggle->isEnabled());
        QVERIFY(!QFile::exists(LoginItemFixture::entry()));
    }

    void theStateIsReadAgainWhenTheWindowBecomesActive()
    {
        QVERIFY(m_fixture->service().registerItem());
        Shown shown;
        shown.show();
        QTRY_VERIFY(shown.toggle->isChecked());
        // The user switches the login item off in the desktop's settings.
        QWidget other;
        activate(other);
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + "Hidden=true\n");
        QTest::qWait(100);
        QVERIFY(!shown.needsApproval());
        shown.window.activateWindow();
        QTRY_VERIFY(shown.needsApproval());
        QVERIFY(shown.toggle->isChecked());
    }

private:
    static void reactivate(Shown& shown)
    {
        QWidget other;
        activate(other);
        activate(shown.window);
    }

    std::unique_ptr<LoginItemFixture> m_fixture;
};

KESTRUM_TEST_MAIN(QApplication, LaunchAtLoginSectionTest)
#include "LaunchAtLoginSectionTest.moc"
