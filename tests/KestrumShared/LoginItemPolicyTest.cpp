#include "KestrumShared/Agent/LoginItemPolicy.h"

#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

class LoginItemPolicyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachVariableAndTheArgumentSuppress_data()
    {
        QTest::addColumn<QString>("variable");
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("suppresses");
        const auto row = [](const char* variable, const char* value, bool suppresses) {
            QTest::addRow("%s=%s", variable, value)
                << QString::fromUtf8(variable) << QString::fromUtf8(value) << suppresses;
        };
        for (const char* variable : { "KESTRUM_NO_LOGIN_ITEM", "KESTRUM_UI_TESTING" }) {
            row(variable, "1", true);
            for (const char* value : { "", "0", "true", "yes", "01", "1 ", " 1", "11" })
                row(variable, value, false);
        }
        for (const char* value : { "", "0", "/some/path" })
            row("XCTestConfigurationFilePath", value, true);
        row("XCTESTCONFIGURATIONFILEPATH", "1", false);
        row("kestrum_no_login_item", "1", false);
    }

    void eachVariableAndTheArgumentSuppress()
    {
        QFETCH(const QString, variable);
        QFETCH(const QString, value);
        QFETCH(const bool, suppresses);
        QCOMPARE(LoginItemPolicy::isSuppressed({ { variable, value } }, {}), suppresses);
        qputenv(variable.toUtf8().constData(), value.toUtf8());
        QCOMPARE(LoginItemPolicy::isSuppressedHere(), suppresses);
        qunsetenv(variable.toUtf8().constData());
        QVERIFY(!LoginItemPolicy::isSuppressedHere());
    }

    void onlyTheWholeArgumentSuppresses()
    {
        const auto isSuppressed
            = [](const QStringList& arguments) { return LoginItemPolicy::isSuppressed({}, arguments); };
        QVERIFY(!isSuppressed({}));
        QVERIFY(isSuppressed({ QStringLiteral("Kestrum"), QStringLiteral("-KestrumNoLoginItem") }));
        QVERIFY(isSuppressed({ QStringLiteral("-KestrumNoLoginItem"), QStringLiteral("YES") }));
        QVERIFY(!isSuppressed({ QStringLiteral("-KestrumNoLoginItem=1") }));
        QVERIFY(!isSuppressed({ QStringLiteral("--KestrumNoLoginItem") }));
        QVERIFY(!isSuppressed({ QStringLiteral("-kestrumnologinitem") }));
    }

    void aPathIsTranslocatedWhereverTheFolderStandsInIt()
    {
        QVERIFY(
            LoginItemPolicy::isTranslocated(QStringLiteral("/private/var/AppTranslocation/1/d/Kestrum.app")));
        QVERIFY(LoginItemPolicy::isTranslocated(QStringLiteral("/AppTranslocation/")));
        for (const char* path : { "", "/opt/Kestrum.app", "/opt/AppTranslocation", "AppTranslocation/x",
                 "/opt/apptranslocation/x", "/opt/MyAppTranslocation/x" })
            QVERIFY2(!LoginItemPolicy::isTranslocated(QString::fromUtf8(path)), path);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemPolicyTest)
#include "LoginItemPolicyTest.moc"
