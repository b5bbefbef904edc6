// Pictures of every page, to be checked by eye: in both schemes, at two scales, in a language of each writing direction, and in
// rare states. Text files contain the accessibility tree of each page. All files are saved in the directory KESTRUM_PICTURES, or
// else in "pictures" in the build directory.

#include "Kestrum/Form/ColourWell.h"
#include "Kestrum/Form/Switch.h"
#include "Kestrum/Pictures.h"
#include "tests/Support/LoginItemFixture.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

#include <QColorDialog>
#include <QDirIterator>
#include <QProcess>
#include <unistd.h>

using namespace kestrum;

class PagePicturesTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoginItemFixture> m_fixture;
    QDir m_folder { TestHome::root() + QStringLiteral("/pictures") };

    /// A window with the default settings. An agent runs unless `withAgent` is false.
    struct Scene {
        StandIns standIns;
        QProcess agent;
        std::unique_ptr<SettingsWindow> window;

        explicit Scene(bool withAgent = true)
        {
            if (withAgent) {
                standIns.tree().write(QStringLiteral("Kestrum.app/KestrumAgent.app/Contents/Info.plist"),
                    contentOf(Bundle::main().path() + QStringLiteral("/Contents/Info.plist")));
                // All user and group ids become the ordinary user's; otherwise that user may not see which program the
                // process runs.
                agent.setChildProcessModifier([] {
                    ::setresgid(::getegid(), ::getegid(), ::getegid());
                    ::setresuid(::geteuid(), ::geteuid(), ::geteuid());
                });
                agent.start(standIns.install(StandIns::agentIn(QStringLiteral("Kestrum.app"))), {});
                QVERIFY(agent.waitForStarted(5000));
            }
            window = std::make_unique<SettingsWindow>();
            QVERIFY(shows(withAgent ? QStringLiteral("On") : QStringLiteral("Off"))
                || Setting { Keys::language }.value() != QLatin1String("system"));
            // Waits until the state of the login item is known and its switch is shown.
            view().showPage(SettingsPage::general);
            QTRY_VERIFY(loginItem().isVisible());
        }
        ~Scene()
        {
            agent.kill();
            agent.waitForFinished(5000);
        }
        Q_DISABLE_COPY_MOVE(Scene)
        Switch& loginItem() { return *view().findChild<Switch*>(QStringLiteral("launchAtLogin")); }
        SettingsView& view() { return window->view; }
        bool shows(const QString& text)
        {
            for (const QLabel* label : view().findChildren<QLabel*>()) {
                if (label->isVisible() && label->text() == text)
                    return true;
            }
            return false;
        }
    };

    QString folder(const QString& name) const { return m_folder.filePath(name); }

    /// Saves pictures of the window's pages, and checks that each exists and has more than one colour.
    void save(Scene& scene, const QString& name) const
    {
        QVERIFY(Pictures::save(scene.view(), folder(name)));
        const QDir saved(folder(name));
        for (const auto& page : allCases<SettingsPage>()) {
            const QString path = saved.filePath(QLatin1StringView(page.rawValue));
            const QImage light(path + QStringLiteral("-light@2x.png"));
            const QImage dark(path + QStringLiteral("-dark@2x.png"));
            QVERIFY(light.width() >= 2 * 640 && light.size() == dark.size());
            QVERIFY(light != dark);
            const QByteArray lines = contentOf(path + QStringLiteral(".tree.txt"));
            QVERIFY(lines.contains("CheckBox \""));
            QVERIFY(lines.count("focusable") >= 7);
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    static void inBothSchemes(const std::function<void(const QString&)>& function)
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            function(scheme == ColourScheme::dark ? QStringLiteral("dark") : QStringLiteral("light"));
        }
    }
    void saveWidget(QWidget& widget, const QString& name) const
    {
        const QString path = folder(name + QStringLiteral(".png"));
        QVERIFY(m_folder.mkpath(QFileInfo(path).path()) && widget.grab().save(path));
    }
    static QColorDialog* openDialog()
    {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<QColorDialog*>(window); dialog && dialog->isVisible())
                return dialog;
        }
        return nullptr;
    }

private Q_SLOTS:
    void initTestCase()
    {
        // The fixture makes root an ordinary user. Root's own folders are out of reach for that user.
        m_fixture = std::make_unique<LoginItemFixture>();
        SettingsWindow::prepareProgram();
        const QString contents = Bundle::main().path() + QStringLiteral("/Contents/");
        if (QDir(contents).isEmpty())
            QSKIP("the ordinary user that root becomes here may not look into the folder that this was built "
                  "in");
        QVERIFY(QDir(m_fixture->bundlePath()).mkpath(QStringLiteral("Contents")));
        for (const char* part : { "Resources", "Info.plist" })
            QVERIFY(QFile::link(contents + QLatin1StringView(part),
                m_fixture->bundlePath() + QStringLiteral("/Contents/") + QLatin1StringView(part)));
        Bundle::setMain(Bundle(m_fixture->bundlePath()));
    }
    void init()
    {
        LoginItemFixture::clear();
        SettingsWindow::prepare();
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }
    void cleanupTestCase()
    {
        m_fixture.reset();
        QDir kept(qEnvironmentVariable(
            "KESTRUM_PICTURES", qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/pictures")));
        QVERIFY(kept.removeRecursively());
        QDirIterator pictures(m_folder.path(), QDir::Files, QDirIterator::Subdirectories);
        while (pictures.hasNext()) {
            const QString to = kept.filePath(m_folder.relativeFilePath(pictures.next()));
            QVERIFY(kept.mkpath(QFileInfo(to).path()) && QFile::copy(pictures.filePath(), to));
        }
        qInfo("saved in %s", qPrintable(kept.path()));
    }

    void pagesInEachDirectionOfWriting_data()
    {
        addRows<bool>({ { "en", false }, { "de", false }, { "ar", true } });
    }
    void pagesInEachDirectionOfWriting()
    {
        const auto [isMirrored] = thisRow<bool>();
        const QString language = QString::fromLatin1(QTest::currentDataTag());
        Setting { Keys::language }.set(language);
        Scene scene;
        QCOMPARE(scene.view().layoutDirection(), isMirrored ? Qt::RightToLeft : Qt::LeftToRight);
        save(scene, language);
        const QString page = QStringLiteral("/general-light.png");
        QVERIFY(language == QLatin1String("en")
            || QImage(folder(language) + page) != QImage(folder(QStringLiteral("en")) + page));
    }

    void agentOff()
    {
        Scene scene(false);
        QVERIFY(scene.shows(QStringLiteral("Off")));
        save(scene, QStringLiteral("agent-off"));
    }

    void updateOffer()
    {
        Setting { Keys::updatesAvailable, QString() }.set(QStringLiteral("9.9 (999999)"));
        Scene scene;
        QVERIFY(scene.shows(QStringLiteral("9.9 (999999)")));
        save(scene, QStringLiteral("update-offer"));
    }

    void blocked()
    {
        const QString away = m_fixture->agentBundle() + QStringLiteral(".away");
        QVERIFY(QFile::rename(m_fixture->agentBundle(), away));
        Scene scene;
        QTRY_VERIFY(scene.shows(QStringLiteral("This copy of Kestrum is incomplete.")));
        save(scene, QStringLiteral("blocked"));
        QVERIFY(QFile::rename(away, m_fixture->agentBundle()));
    }

    void approvalNeeded()
    {
        QVERIFY(m_fixture->service().registerItem());
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + "Hidden=true\n");
        Scene scene;
        QTRY_VERIFY(scene.shows(QStringLiteral("Turned off under Allow in the Background.")));
        save(scene, QStringLiteral("approval-needed"));
    }

    void error()
    {
        QDir().mkpath(LoginItemFixture::folder());
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        Scene scene;
        QTRY_VERIFY(!scene.loginItem().isChecked());
        QTest::mouseClick(&scene.loginItem(), Qt::LeftButton);
        QTRY_VERIFY(scene.shows(QStringLiteral("Kestrum is not allowed to run in the background.")));
        QTRY_VERIFY(!scene.loginItem().isChecked());
        QTest::qWait(200); // until the switch's knob has stopped
        // The page is not changed here: another page would clear the error.
        inBothSchemes([&](const QString& scheme) {
            saveWidget(scene.view(), QStringLiteral("error/general-") + scheme);
        });
    }

    void customColourOpen()
    {
        Setting { Keys::cpuAccent, MeterAccent() }.set(MeterAccent::custom(QColor(0x40, 0x80, 0xF0)));
        Scene scene;
        scene.view().showPage(SettingsPage::menuBar);
        auto* well = scene.view().findChild<ColourWell*>();
        QVERIFY(well);
        QTest::mouseClick(well, Qt::LeftButton);
        auto* dialog = openDialog();
        QVERIFY(dialog && QTest::qWaitForWindowExposed(dialog));
        inBothSchemes([&](const QString& scheme) {
            saveWidget(*dialog, QStringLiteral("custom-colour/dialog-") + scheme);
        });
        save(scene, QStringLiteral("custom-colour"));
    }
};

KESTRUM_TEST_MAIN_APART(QApplication, PagePicturesTest)
#include "PagePicturesTest.moc"
