#include "Kestrum/Agent/LoginItemManager.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/FreshSettings.h"
#include "tests/LoginItemStage.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

/// The login item of the settings application itself, which earlier versions made.
class LegacyLoginItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_stage = std::make_unique<LoginItemStage>();
        registerFactoryDefaults();
    }
    void init()
    {
        LoginItemStage::clear();
        forgetSettings();
        write(legacy(), "[Desktop Entry]\nType=Application\nName=Kestrum\nExec=Kestrum\n");
    }
    void cleanupTestCase() { m_stage.reset(); }

    void itIsRemovedOnceAndNeverAgain()
    {
        QVERIFY(!m_stage->service().registerItem());
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTRY_VERIFY(!QFile::exists(legacy()));
        QTRY_VERIFY(isDone());
        // The agent's stays.
        QCOMPARE(QDir(LoginItemStage::folder()).entryList(QDir::Files),
            QStringList { QFileInfo(LoginItemStage::entry()).fileName() });
        write(legacy(), "[Desktop Entry]\nmade anew by hand\n");
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTest::qWait(100);
        QVERIFY(QFile::exists(legacy()));
    }

    void withoutOneItIsDoneAsWell()
    {
        LoginItemStage::clear();
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTRY_VERIFY(isDone());
        QVERIFY(!QFile::exists(LoginItemStage::folder()));
    }

    void oneForTheWholeSystemIsNotCovered()
    {
        LoginItemStage::clear();
        const QString system = QString::fromUtf8(qgetenv("XDG_CONFIG_DIRS")) + QStringLiteral("/autostart");
        QVERIFY(QDir().mkpath(system));
        write(system + QStringLiteral("/com.orvale.kestrum.desktop"),
            "[Desktop Entry]\nType=Application\nName=Kestrum\nExec=/bin/true\n");
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTRY_VERIFY(isDone());
        QVERIFY(!QFile::exists(legacy()));
        QVERIFY(QDir(system).removeRecursively());
    }

    void aSuppressedStartLeavesItToALaterOne()
    {
        qputenv("KESTRUM_NO_LOGIN_ITEM", "1");
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTest::qWait(100);
        qunsetenv("KESTRUM_NO_LOGIN_ITEM");
        QVERIFY(QFile::exists(legacy()));
        QVERIFY(!isDone());
        QVERIFY(SharedSettings::store().storedDictionary().isEmpty());
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTRY_VERIFY(!QFile::exists(legacy()));
        QTRY_VERIFY(isDone());
    }

    void aFailureIsSilentAndNotTriedAgain()
    {
        QFile::setPermissions(LoginItemStage::folder(), QFile::ReadOwner | QFile::ExeOwner);
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTRY_VERIFY(isDone());
        QVERIFY(QFile::exists(legacy()));
    }

private:
    static QString legacy()
    {
        return LoginItemStage::folder() + QStringLiteral("/com.orvale.kestrum.desktop");
    }
    static bool isDone() { return Setting { Keys::didUnregisterLegacyLoginItem }.value(); }

    std::unique_ptr<LoginItemStage> m_stage;
};

KESTRUM_TEST_MAIN(QCoreApplication, LegacyLoginItemTest)
#include "LegacyLoginItemTest.moc"
