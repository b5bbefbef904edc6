#include "Kestrum/Agent/LoginItemManager.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/LoginItemFixture.h"
#include "tests/Support/Rows.h"

#include <QElapsedTimer>
#include <QSignalSpy>

using namespace kestrum;
using Status = LoginItemService::Status;
using Block = LoginItemManager::Block;

class LoginItemManagerTest : public QObject {
    Q_OBJECT

    static inline QStringList logged;
    static inline QStringList reasons; // for the log

    static void remember(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        if (qstrcmp(context.category, "com.orvale.kestrum.loginItem") != 0)
            return;
        if (type == QtCriticalMsg)
            logged.append(message);
        if (type == QtWarningMsg)
            reasons.append(message);
    }

    /// The variables that suppress login items.
    static constexpr const char* suppressing[]
        = { "KESTRUM_NO_LOGIN_ITEM", "KESTRUM_UI_TESTING", "XCTestConfigurationFilePath" };

private Q_SLOTS:
    void initTestCase()
    {
        m_fixture = std::make_unique<LoginItemFixture>();
        registerFactoryDefaults();
        qInstallMessageHandler(remember);
    }
    void init()
    {
        LoginItemFixture::clear();
        forgetSettings();
        logged.clear();
        reasons.clear();
    }
    void cleanup()
    {
        for (const char* variable : suppressing)
            qunsetenv(variable);
    }
    void cleanupTestCase()
    {
        qInstallMessageHandler(nullptr);
        m_fixture.reset();
    }

    // This test is the first one: once known, the state stays known until the process ends.
    void atFirstNothingIsKnown()
    {
        LoginItemManager manager;
        QVERIFY(!LoginItemManager::isKnown());
        QCOMPARE(manager.status(), Status::notRegistered);
        QVERIFY(!manager.lastError());
        QVERIFY(!manager.isOn());
        QVERIFY(!manager.needsApproval());
        QSignalSpy changes(&manager, &LoginItemManager::changed);
        manager.refresh();
        // Another thread reads the state, and the event loop delivers the result.
        QVERIFY(!LoginItemManager::isKnown());
        // The first read counts as a change, even if the state is the same.
        QTRY_COMPARE(changes.size(), 1);
        QVERIFY(LoginItemManager::isKnown());
        QCOMPARE(manager.status(), Status::notRegistered);
    }

    void refreshReadsTheRealState_data()
    {
        addRows<QByteArray, Status, bool, bool>({ { "enabled", "Hidden=false", Status::enabled, true, false },
            { "requiresApproval", "Hidden=true", Status::requiresApproval, true, true },
            { "notFound", "TryExec=/nowhere", Status::notFound, false, false } });
    }
    void refreshReadsTheRealState()
    {
        const auto [change, status, isOn, needsApproval] = thisRow<QByteArray, Status, bool, bool>();
        QVERIFY(m_fixture->service().registerItem());
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + change + '\n');
        LoginItemManager manager;
        manager.refresh();
        QTRY_COMPARE(manager.status(), status);
        QCOMPARE(manager.isOn(), isOn);
        QCOMPARE(manager.needsApproval(), needsApproval);
        QVERIFY(!manager.lastError());
    }

    void aNewManagerStartsFromWhatIsKnown()
    {
        QVERIFY(m_fixture->service().registerItem());
        LoginItemManager first;
        first.refresh();
        QTRY_COMPARE(first.status(), Status::enabled);
        const LoginItemManager second;
        QCOMPARE(second.status(), Status::enabled);
    }

    void switchingOnShowsAtOnceAndRegisters()
    {
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        manager.setEnabled(true);
        QCOMPARE(manager.status(), Status::enabled);
        QCOMPARE(LoginItemManager().status(), Status::enabled);
        QTRY_COMPARE(m_fixture->service().status(), Status::enabled);
        settle(manager, Status::enabled);
        QVERIFY(!manager.lastError());
        QCOMPARE(logged, QStringList());
    }

    void switchingOffShowsAtOnceAndRemoves()
    {
        QVERIFY(m_fixture->service().registerItem());
        LoginItemManager manager;
        settle(manager, Status::enabled);
        manager.setEnabled(false);
        QCOMPARE(manager.status(), Status::notRegistered);
        QTRY_VERIFY(!QFile::exists(LoginItemFixture::entry()));
        settle(manager, Status::notRegistered);
        QVERIFY(!manager.lastError());
    }

    void oneThatIsOnIsReplacedAfterAPause_data()
    {
        addRows<QByteArray, Status>(
            { { "enabled", "Exec=sh -c \"exec " + QFile::encodeName(m_fixture->agentProgram()) + '"',
                  Status::enabled },
                { "requiresApproval", "Hidden=true", Status::requiresApproval } });
    }
    void oneThatIsOnIsReplacedAfterAPause()
    {
        const auto [change, status] = thisRow<QByteArray, Status>();
        QVERIFY(m_fixture->service().registerItem());
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + change + "\nX-Mine=1\n");
        LoginItemManager manager;
        settle(manager, status);
        QElapsedTimer timer;
        timer.start();
        manager.setEnabled(true);
        // The item is unregistered first.
        QTRY_VERIFY(!QFile::exists(LoginItemFixture::entry()));
        QTRY_VERIFY(QFile::exists(LoginItemFixture::entry()));
        QCOMPARE_GE(timer.elapsed(), 300);
        QCOMPARE_LT(timer.elapsed(), 2000);
        settle(manager, Status::enabled);
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("X-Mine=1\n"));
        QVERIFY(contentOf(LoginItemFixture::entry()).contains(m_fixture->agentProgram().toUtf8()));
        QVERIFY(!manager.lastError());
    }

    void oneThatIsGoneMeanwhileIsRegisteredAnew()
    {
        QVERIFY(m_fixture->service().registerItem());
        LoginItemManager manager;
        settle(manager, Status::enabled);
        LoginItemFixture::clear(); // so that nothing can be unregistered
        manager.setEnabled(true);
        QTRY_VERIFY(QFile::exists(LoginItemFixture::entry()));
        QVERIFY(!manager.lastError());
    }

    void oneThatIsOffIsRegisteredWithoutAPause()
    {
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        QElapsedTimer timer;
        timer.start();
        manager.setEnabled(true);
        QTRY_VERIFY(QFile::exists(LoginItemFixture::entry()));
        QCOMPARE_LT(timer.elapsed(), 290);
    }

    void refusedWithCode12ThereIsNoMessage()
    {
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        QVERIFY(AgentLoginItem::service().registerItem()); // as another process does it earlier
        QCOMPARE(AgentLoginItem::service().registerItem().failure().error, 12);
        QSignalSpy readings(&manager, &LoginItemManager::refreshed);
        manager.setEnabled(true);
        QTRY_COMPARE(readings.size(), 1);
        QVERIFY(!manager.lastError());
    }

    void withNothingToRemoveThereIsNoMessage()
    {
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        manager.setEnabled(false);
        QTest::qWait(100);
        QVERIFY(!manager.lastError());
        QCOMPARE(manager.status(), Status::notRegistered);
        QCOMPARE(logged, QStringList());
    }

    void aProgramThatOthersMayChangeNeedsASignature()
    {
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
        QFile::setPermissions(m_fixture->agentProgram(), owner | QFile::WriteOther);
        manager.setEnabled(true);
        QTRY_VERIFY(manager.lastError());
        QFile::setPermissions(m_fixture->agentProgram(), owner);
        const QString message = QStringLiteral("This build is not signed. Login items need a signed build.");
        QCOMPARE(*manager.lastError(), message);
        QCOMPARE(logged, QStringList { QStringLiteral("login item: ") + message });
        QCOMPARE(reasons,
            QStringList { QStringLiteral("login item: %1: everybody may change it (mode 0702)")
                              .arg(m_fixture->agentProgram()) });
        // The switch goes back to the real state.
        QTRY_COMPARE(manager.status(), Status::notRegistered);
        // The next change clears the message at once.
        manager.setEnabled(true);
        QVERIFY(!manager.lastError());
        QTRY_VERIFY(QFile::exists(LoginItemFixture::entry()));
        settle(manager, Status::enabled);
        QVERIFY(!manager.lastError());
    }

    void aFolderThatRefusesUsIsNotAllowed()
    {
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        manager.setEnabled(true);
        QTRY_VERIFY(manager.lastError());
        QCOMPARE(*manager.lastError(), QStringLiteral("Kestrum is not allowed to run in the background."));
        QCOMPARE(logged.size(), 1);
        QCOMPARE(reasons.size(), 1);
        QVERIFY2(reasons.first().contains(LoginItemFixture::folder()), qPrintable(reasons.first()));
        QTRY_COMPARE(manager.status(), Status::notRegistered);
    }

    void anyOtherFailureIsToldInTheSystemsWords()
    {
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        write(LoginItemFixture::folder(), "mine");
        manager.setEnabled(true);
        QTRY_VERIFY(manager.lastError());
        QVERIFY(manager.lastError()->contains(LoginItemFixture::folder()));
        QVERIFY(manager.lastError()->contains(qt_error_string(ENOTDIR)));
        QCOMPARE(logged, QStringList { QStringLiteral("login item: ") + *manager.lastError() });
        QCOMPARE(reasons, QStringList());
    }

    void theSystemsWordsAreNoKeyOfATranslation()
    {
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        write(LoginItemFixture::folder(), "mine");
        const QString words = m_fixture->service().registerItem().failureText();
        chooseLanguageWithTextFor(words.toUtf8());
        QCOMPARE(AppLanguage::string(words), QStringLiteral("translated"));
        manager.setEnabled(true);
        QTRY_VERIFY(manager.lastError());
        QCOMPARE(*manager.lastError(), words);
    }

    void messagesAreInTheInterfaceLanguage()
    {
        for (const Block block : { Block::suppressed, Block::translocated, Block::incomplete }) {
            chooseLanguageWithTextFor(AgentLoginItem::message(block));
            QCOMPARE(LoginItemManager::message(block), QStringLiteral("translated"));
        }
    }

    void aBlockKeepsTheServiceUntouched_data()
    {
        addRows<QByteArray, QByteArray>({ { "no login item", "KESTRUM_NO_LOGIN_ITEM", "1" },
            { "interface test", "KESTRUM_UI_TESTING", "1" },
            { "unit test", "XCTestConfigurationFilePath", "" } });
    }
    void aBlockKeepsTheServiceUntouched()
    {
        const auto [variable, value] = thisRow<QByteArray, QByteArray>();
        LoginItemManager manager;
        settle(manager, Status::notRegistered);
        QSignalSpy changes(&manager, &LoginItemManager::changed);
        QVERIFY(!LoginItemManager::block());
        qputenv(variable.constData(), value);
        QVERIFY(LoginItemManager::block() == Block::suppressed);
        QCOMPARE(LoginItemManager::message(Block::suppressed),
            QStringLiteral("Login items are disabled in this build."));
        manager.setEnabled(true);
        QTest::qWait(100);
        qunsetenv(variable.constData());
        QCOMPARE(changes.size(), 0);
        QVERIFY(!QFile::exists(LoginItemFixture::folder()));
        QCOMPARE(logged, QStringList());
        QVERIFY(!LoginItemManager::block());
    }

    void trueDoesNotSuppress()
    {
        qputenv("KESTRUM_NO_LOGIN_ITEM", "true");
        QVERIFY(!LoginItemManager::block());
    }

    void aTranslocatedCopyIsToldEvenWithoutItsAgent()
    {
        const Bundle before = Bundle::main();
        Bundle::setMain(Bundle(QStringLiteral("/private/AppTranslocation/1/Kestrum.app")));
        QVERIFY(LoginItemManager::block() == Block::translocated);
        QCOMPARE(LoginItemManager::message(Block::translocated),
            QStringLiteral("Move Kestrum to your Applications folder first."));
        qputenv("KESTRUM_UI_TESTING", "1");
        QVERIFY(LoginItemManager::block() == Block::suppressed);
        Bundle::setMain(before);
    }

    void aCopyWithoutItsAgentIsIncomplete()
    {
        const QString away = m_fixture->agentBundle() + QStringLiteral("-away");
        QVERIFY(QFile::rename(m_fixture->agentBundle(), away));
        QVERIFY(LoginItemManager::block() == Block::incomplete);
        QCOMPARE(LoginItemManager::message(Block::incomplete),
            QStringLiteral("This copy of Kestrum is incomplete."));
        QVERIFY(QFile::rename(away, m_fixture->agentBundle()));
        QVERIFY(!LoginItemManager::block());
    }

    void ofQuickChangesTheLastOneRemains()
    {
        for (const bool last : { true, false }) {
            LoginItemManager manager;
            settle(manager, m_fixture->service().status());
            for (const bool isOn : { true, false, true, false, true, false })
                manager.setEnabled(isOn == last ? last : !last);
            manager.setEnabled(last);
            QTest::qWait(1500);
            QCOMPARE(m_fixture->service().status(), last ? Status::enabled : Status::notRegistered);
            QCOMPARE(manager.status(), m_fixture->service().status());
            QVERIFY(!manager.lastError());
        }
    }

    void aManagerMayGoWhileItsChangeIsMade()
    {
        {
            LoginItemManager manager;
            settle(manager, Status::notRegistered);
            manager.setEnabled(true);
            manager.refresh();
        }
        QTRY_VERIFY(QFile::exists(LoginItemFixture::entry()));
        QTest::qWait(50);
    }

    void whatWasShownForAChangeThatFailedIsPutRightWithoutItsManager()
    {
        {
            LoginItemManager manager;
            settle(manager, Status::notRegistered);
            // A file is in place of the entries' folder.
            QDir(LoginItemFixture::folder()).removeRecursively();
            QFile file(LoginItemFixture::folder());
            QVERIFY(file.open(QIODevice::WriteOnly));
            manager.setEnabled(true);
            QCOMPARE(LoginItemManager().status(), Status::enabled);
        }
        QTRY_COMPARE(LoginItemManager().status(), Status::notRegistered);
        QVERIFY(QFile::remove(LoginItemFixture::folder()));
    }

private:
    void chooseLanguageWithTextFor(const QByteArray& key) const
    {
        write(m_fixture->bundlePath() + QStringLiteral("/Contents/Resources/fr.lproj/Localizable.strings"),
            '"' + key + "\" = \"translated\";");
        Bundle::setMain(Bundle(m_fixture->bundlePath()));
        Setting { Keys::language }.set(QStringLiteral("fr"));
    }

    /// Waits until the manager has read the state `status`.
    static void settle(LoginItemManager& manager, Status status)
    {
        manager.refresh();
        QTest::qWait(30);
        QTRY_COMPARE(manager.status(), status);
    }

    std::unique_ptr<LoginItemFixture> m_fixture;
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemManagerTest)
#include "LoginItemManagerTest.moc"
