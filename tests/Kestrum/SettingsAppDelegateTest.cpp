#include "Kestrum/SettingsAppDelegate.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Settings/SignalListener.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestHome.h"

#include <QDateTime>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QSessionManager>
#include <QSignalSpy>
#include <QTest>
#include <cstdio>
#include <memory>

using namespace kestrum;

class SettingsAppDelegateTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SettingsAppDelegate> m_delegate;
    std::unique_ptr<SignalListener> m_listener;
    int m_settings = 0;
    QStringList m_relaunches;

    /// Writes the settings file as another program would.
    static void writeFromOutside(const QByteArray& text)
    {
        const QString path = SharedSettings::store().filePath();
        QFile file(path + QStringLiteral(".new"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        QCOMPARE(std::rename(qPrintable(file.fileName()), qPrintable(path)), 0);
    }

private Q_SLOTS:
    void init()
    {
        QSignalSpy stored(&SharedSettings::store(), &UserDefaults::changed);
        forgetSettings();
        Setting { Keys::agentEnabled }.set(false);
        // Otherwise another thread would store this key some time later.
        Setting { Keys::didUnregisterLegacyLoginItem }.set(true);
        m_delegate = std::make_unique<SettingsAppDelegate>(SettingsAppDelegate::Run::ordinary,
            Relaunch::Actions { [this](const QString& command) { m_relaunches.append(command); }, [] {} });
        m_delegate->applicationDidFinishLaunching();
        QTRY_COMPARE(stored.count(), 1); // the listener must not hear the start-up's changes
        m_listener = std::make_unique<SignalListener>();
        m_listener->listen(SharedSettings::Signal::settings, [this] { ++m_settings; });
        m_settings = 0;
        m_relaunches.clear();
    }

    void cleanup()
    {
        m_listener.reset();
        m_delegate.reset();
    }

    void startUpRegistersTheDefaultsAndSpreadsTheAccents()
    {
        QCOMPARE(
            SharedSettings::store().string("menuBarOrder"), QStringLiteral("storage,sensors,memory,cpu"));
        const QJsonObject stored = SharedSettings::store().storedDictionary();
        QVERIFY(!stored.contains(QLatin1StringView("menuBarOrder")));
        QCOMPARE(stored.value(QLatin1StringView("cpuFastCoreAccent")), QStringLiteral("indigo"));
        QCOMPARE(stored.value(QLatin1StringView("memoryAccent")), QStringLiteral("signal"));
    }

    void theDesktopDoesNotStartItAgainAtTheNextLogin()
    {
        auto* session = qGuiApp->findChild<QSessionManager*>();
        QVERIFY(session);
        session->setRestartHint(QSessionManager::RestartIfRunning);
        m_delegate->windowWasShown();
        Q_EMIT qGuiApp->saveStateRequest(*session);
        QCOMPARE(session->restartHint(), QSessionManager::RestartNever);
    }

    void anOwnWritePostsOneSignal()
    {
        QSignalSpy changed(&SharedSettings::store(), &UserDefaults::changed);
        Setting { Keys::showCPUItem }.set(false);
        QTRY_COMPARE(m_settings, 1);
        QTest::qWait(100);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(m_settings, 1);
    }

    void everyKeyCounts()
    {
        SharedSettings::store().set("aKeyThatNobodyKnows", 3);
        QTRY_COMPARE(m_settings, 1);
    }

    void aForeignWritePostsOneSignal()
    {
        QSignalSpy changed(&SharedSettings::store(), &UserDefaults::changed);
        writeFromOutside("{ \"showCPUItem\": false }");
        QTRY_COMPARE(m_settings, 1);
        QTest::qWait(150);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(m_settings, 1);
    }

    void writingWhatIsThereAlreadyPostsNothing()
    {
        Setting { Keys::showCPUItem }.set(false);
        QTRY_COMPARE(m_settings, 1);
        Setting { Keys::showCPUItem }.set(false);
        QTest::qWait(100);
        QCOMPARE(m_settings, 1);
    }

    void aDelegateThatIsGonePostsNothing()
    {
        m_delegate.reset();
        QSignalSpy changed(&SharedSettings::store(), &UserDefaults::changed);
        Setting { Keys::showCPUItem }.set(false);
        QTRY_COMPARE(changed.count(), 1);
        QTest::qWait(100);
        QCOMPARE(m_settings, 0);
    }

    void aStaleLanguageIsAppliedToTheProcess()
    {
        // This test program is in no bundle, so it uses the languages of the built bundle.
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        AppLanguage::recordLaunchedCode();
        QCOMPARE(AppLanguage::launchedCode(), QStringLiteral("en"));
        Setting { Keys::language }.set(QStringLiteral("de"));
        QTRY_COMPARE(m_settings, 1);
        QCOMPARE(UserDefaults::standard().object("AppleLanguages").toArray().first().toString(),
            QStringLiteral("de"));
        QCOMPARE(m_relaunches.size(), 1);
        // English is the language at the launch and so not stale: the process's own preferences stay as they are.
        Setting { Keys::language }.set(QStringLiteral("en"));
        QTRY_COMPARE(m_settings, 2);
        QCOMPARE(UserDefaults::standard().object("AppleLanguages").toArray().first().toString(),
            QStringLiteral("de"));
    }

    void afterTheFirstFrameLeftoversAreSwept()
    {
        QFile leftover(TestHome::configDirectory() + QStringLiteral("/.kestrum-0000000000000001.tmp"));
        QVERIFY(leftover.open(QIODevice::ReadWrite));
        QVERIFY(leftover.setFileTime(
            QDateTime::currentDateTime().addSecs(-7200), QFileDevice::FileModificationTime));
        leftover.close();
        m_delegate->windowWasShown();
        QVERIFY(!leftover.exists());
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, SettingsAppDelegateTest)
#include "SettingsAppDelegateTest.moc"
