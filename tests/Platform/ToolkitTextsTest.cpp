#include "Platform/Desktop/ToolkitTexts.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QHash>
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

    void theToolkitSpeaksEveryLanguageThatWeShip_data()
    {
        const QHash<QString, QString> words {
            { QStringLiteral("ar"), QStringLiteral("ألغِ") },
            { QStringLiteral("de"), QStringLiteral("Abbrechen") },
            { QStringLiteral("es"), QStringLiteral("Cancelar") },
            { QStringLiteral("fr"), QStringLiteral("Annuler") },
            { QStringLiteral("it"), QStringLiteral("Annulla") },
            { QStringLiteral("ja"), QStringLiteral("キャンセル") },
            { QStringLiteral("nl"), QStringLiteral("Annuleren") },
            { QStringLiteral("pl"), QStringLiteral("Anuluj") },
            { QStringLiteral("pt-BR"), QStringLiteral("Cancelar") },
            { QStringLiteral("uk"), QStringLiteral("Скасувати") },
            { QStringLiteral("zh-Hans"), QStringLiteral("取消") },
        };
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("word");
        const QDir resources(qEnvironmentVariable("KESTRUM_SOURCE") + QStringLiteral("/Resources"));
        for (const QString& folder : resources.entryList({ QStringLiteral("*.lproj") }, QDir::Dirs)) {
            const QString code = folder.chopped(6);
            if (code != QLatin1StringView("en"))
                QTest::newRow(qPrintable(code)) << code << words.value(code);
        }
    }

    void theToolkitSpeaksEveryLanguageThatWeShip()
    {
        QFETCH(QString, code);
        // Most of these languages are not spoken in this region.
        qputenv("LC_ALL", "en_CH.UTF-8");
        UserDefaults::standard().set("AppleLanguages", QJsonArray { code });
        ToolkitTexts::install();
        QTEST(cancel(), "word");
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ToolkitTextsTest)
#include "ToolkitTextsTest.moc"
