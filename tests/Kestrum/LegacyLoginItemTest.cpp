#include "Kestrum/Agent/LoginItemManager.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/LoginItemFixture.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

/// The login item that earlier versions made for the settings application itself.
class LegacyLoginItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_fixture = std::make_unique<LoginItemFixture>();
        registerFactoryDefaults();
    }
    void init()
    {
        LoginItemFixture::clear();
        forgetSettings();
        write(legacy(), "[Desktop Entry]\nType=Application\nName=Kestrum\nExec=Kestrum\n");
    }
    void cleanupTestCase() { m_fixture.reset(); }

    void itIsRemovedOnceAndNeverAgain()
    {
        QVERIFY(m_fixture->service().registerItem());
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTRY_VERIFY(!QFile::exists(legacy()));
        QTRY_VERIFY(isDone());
        // The agent's login item stays.
        QCOMPARE(QDir(LoginItemFixture::folder()).entryList(QDir::Files),
            QStringList { QFileInfo(LoginItemFixture::entry()).fileName() });
        write(legacy(), "[Desktop Entry]\nmade anew by hand\n");
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTest::qWait(100);
        QVERIFY(QFile::exists(legacy()));
    }

    void withoutOneItIsDoneAsWell()
    {
        LoginItemFixture::clear();
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTRY_VERIFY(isDone());
        QVERIFY(!QFile::exists(LoginItemFixture::folder()));
    }

    void oneForTheWholeSystemIsNotCovered()
    {
        LoginItemFixture::clear();
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
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
        LoginItemManager::unregisterLegacyMainAppOnce();
        QTRY_VERIFY(isDone());
        QVERIFY(QFile::exists(legacy()));
    }

private:
    static QString legacy()
    {
        return LoginItemFixture::folder() + QStringLiteral("/com.orvale.kestrum.desktop");
    }
    static bool isDone() { return Setting { Keys::didUnregisterLegacyLoginItem }.value(); }

    std::unique_ptr<LoginItemFixture> m_fixture;
};

KESTRUM_TEST_MAIN(QCoreApplication, LegacyLoginItemTest)
#include "LegacyLoginItemTest.moc"
