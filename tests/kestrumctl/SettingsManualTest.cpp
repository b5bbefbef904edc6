// The manual page of the settings file names the keys, types, defaults and choices that the programs have.

#include "KestrumShared/Settings/Keys.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "kestrumctl/JsonText.h"
#include "kestrumctl/KeyCatalogue.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>
#include <tuple>
#include <type_traits>

using namespace kestrum;

class SettingsManualTest : public QObject {
    Q_OBJECT

    QString m_page;

    /// The text about a key, up to the next one.
    QString paragraph(const char* key) const
    {
        const qsizetype start = m_page.indexOf(text(".TP\n.BR %1 ").arg(text(key)));
        return start < 0 ? QString() : m_page.mid(start, m_page.indexOf(text("\n.TP\n"), start + 1) - start);
    }

    template <class K> void checkChoices(const K& key) const
    {
        using Value = typename K::Value;
        if constexpr (std::is_enum_v<Value>) {
            static const QRegularExpression word(text("[A-Za-z]+"));
            QStringList words;
            for (auto found = word.globalMatch(paragraph(key.name)); found.hasNext();)
                words.append(found.next().captured());
            for (const auto& choice : allCases<Value>())
                QVERIFY2(words.contains(rawValue(choice.value)), choice.rawValue);
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_page = QString::fromUtf8(
            contentOf(qEnvironmentVariable("KESTRUM_SOURCE") + text("/docs/man/kestrum-settings.5")));
        QVERIFY(m_page.contains(text(".SH SETTINGS")));
    }

    void everyKeyStandsThereWithItsTypeAndDefault()
    {
        QByteArrayList expected;
        const QJsonObject& defaults = SharedSettings::factoryDefaults();
        for (const CatalogueKey& key : KeyCatalogue::keys()) {
            QByteArray line = ".BR " + key.name.toUtf8() + " \" (" + KeyCatalogue::description(key.type);
            if (const auto found = defaults.find(key.name); found != defaults.end())
                line += "; " + JsonText::compact(QJsonValue(*found)).replace("\"", "\\(dq");
            expected.append(line + ")\"");
        }
        QByteArrayList lines;
        const QString settings = m_page.section(text(".SH SETTINGS"), 1).section(text(".SH "), 0, 0);
        static const QRegularExpression head(text("^\\.TP\n(.*)$"), QRegularExpression::MultilineOption);
        for (auto found = head.globalMatch(settings); found.hasNext();)
            lines.append(found.next().captured(1).toUtf8());
        QCOMPARE(lines, expected);
    }

    void everyChoiceIsNamed()
    {
        std::apply([this](const auto&... key) { (checkChoices(key), ...); }, Keys::registered);
        std::apply([this](const auto&... key) { (checkChoices(key), ...); }, Keys::unregistered);
        for (const MeterAccent& accent : MeterAccent::presets())
            QVERIFY2(m_page.section(text(".SH COLOURS"), 1).contains(accent.rawValue()),
                qPrintable(accent.rawValue()));
    }

    void itNamesTheFileThatIsWritten()
    {
        const QString program = qEnvironmentVariable("KESTRUM_BUILD") + text("/kestrumctl");
        QCOMPARE(Programs::run(program, words("write showCPUItem false")).code, 0);
        const QStringList files
            = QDir(TestHome::configDirectory()).entryList({ text("*.json") }, QDir::Files);
        QCOMPARE(files.size(), 1);
        QVERIFY2(m_page.contains(text("~/.config/kestrum/") + files.first()), qPrintable(files.first()));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SettingsManualTest)

#include "SettingsManualTest.moc"
