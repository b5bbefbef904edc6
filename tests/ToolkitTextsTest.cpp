#include "Platform/ToolkitTexts.h"
#include "Platform/UserDefaults.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QTest>

using namespace kestrum;

/// The toolkit's own texts in the language of the process.
class ToolkitTextsTest : public QObject {
    Q_OBJECT

    static QString cancel() { return QCoreApplication::translate("QPlatformTheme", "Cancel"); }

private Q_SLOTS:
    void theLocaleIsTheLanguageInTheSessionsRegion()
    {
        qputenv("LC_ALL", "en_CH.UTF-8");
        QCOMPARE(ToolkitTexts::locale(QStringLiteral("de")), QLocale(QLocale::German, QLocale::Switzerland));
        QCOMPARE(ToolkitTexts::locale(QStringLiteral("pt_BR")).language(), QLocale::Portuguese);
        QCOMPARE(ToolkitTexts::locale(QStringLiteral("pt_BR")).territory(), QLocale::Switzerland);
        qputenv("LC_ALL", "C.UTF-8");
        QCOMPARE(ToolkitTexts::locale(QStringLiteral("pt_BR")).territory(), QLocale::Brazil);
    }

    void theProcesssOwnLanguageComesBeforeTheSessions()
    {
        QCOMPARE(cancel(), QStringLiteral("Cancel"));
        qputenv("LC_ALL", "fr_FR.UTF-8");
        UserDefaults::standard().set(
            "AppleLanguages", QJsonArray { QStringLiteral("de"), QStringLiteral("fr") });
        ToolkitTexts::install();
        QCOMPARE(cancel(), QStringLiteral("Abbrechen"));
        QCOMPARE(QLocale(), QLocale(QLocale::German, QLocale::France));

        UserDefaults::standard().remove("AppleLanguages");
        ToolkitTexts::install();
        QCOMPARE(cancel(), QStringLiteral("Annuler"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ToolkitTextsTest)
#include "ToolkitTextsTest.moc"
