#include "Platform/Desktop/ToolkitTexts.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

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
        QCOMPARE(ToolkitTexts::locale(text("de")), QLocale(QLocale::German, QLocale::Switzerland));
        QCOMPARE(ToolkitTexts::locale(text("pt_BR")).language(), QLocale::Portuguese);
        QCOMPARE(ToolkitTexts::locale(text("pt_BR")).territory(), QLocale::Switzerland);
        qputenv("LC_ALL", "C.UTF-8");
        QCOMPARE(ToolkitTexts::locale(text("pt_BR")).territory(), QLocale::Brazil);
    }

    void theProcesssOwnLanguageComesBeforeTheSessions()
    {
        QCOMPARE(cancel(), text("Cancel"));
        qputenv("LC_ALL", "fr_FR.UTF-8");
        UserDefaults::standard().set("AppleLanguages", QJsonArray { text("de"), text("fr") });
        ToolkitTexts::install();
        QCOMPARE(cancel(), text("Abbrechen"));
        QCOMPARE(QLocale(), QLocale(QLocale::German, QLocale::France));

        UserDefaults::standard().remove("AppleLanguages");
        ToolkitTexts::install();
        QCOMPARE(cancel(), text("Annuler"));
    }

    void theToolkitSpeaksEveryLanguageThatWeShip_data()
    {
        const QHash<QString, QString> words { { text("ar"), text("ألغِ") }, { text("de"), text("Abbrechen") },
            { text("es"), text("Cancelar") }, { text("fr"), text("Annuler") },
            { text("it"), text("Annulla") }, { text("ja"), text("キャンセル") },
            { text("nl"), text("Annuleren") }, { text("pl"), text("Anuluj") },
            { text("pt-BR"), text("Cancelar") }, { text("uk"), text("Скасувати") },
            { text("zh-Hans"), text("取消") } };
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("word");
        const QDir resources(qEnvironmentVariable("KESTRUM_SOURCE") + text("/Resources"));
        for (const QString& folder : resources.entryList({ text("*.lproj") }, QDir::Dirs)) {
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
