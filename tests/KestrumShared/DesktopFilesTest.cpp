// What desktops and software centres show of the application is in all languages that the application has.

#include "Platform/Log/Identifier.h"
#include "Platform/LoginItem/DesktopEntry.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>
#include <QXmlStreamReader>
#include <algorithm>

using namespace kestrum;

class DesktopFilesTest : public QObject {
    Q_OBJECT

    static QString source(const char* path)
    {
        return qEnvironmentVariable("KESTRUM_SOURCE") + u'/' + text(path);
    }

    /// The interface languages as locales' names, other than English.
    static QStringList locales()
    {
        QStringList names;
        for (const QString& folder : QDir(source("Resources")).entryList({ text("*.lproj") }, QDir::Dirs)) {
            const QString code = folder.chopped(6);
            if (code != u"en")
                names.append(code == u"zh-Hans" ? text("zh_CN") : QString(code).replace(u'-', u'_'));
        }
        return names;
    }

    static DesktopEntry entry()
    {
        return DesktopEntry::parsed(contentOf(source("packaging/com.orvale.kestrum.desktop")));
    }

private Q_SLOTS:
    void theDesktopEntryIsInAllLanguages_data()
    {
        QTest::addColumn<QByteArray>("key");
        for (const char* key : { "GenericName", "Comment", "Keywords" })
            QTest::newRow(key) << QByteArray(key);
    }

    void theDesktopEntryIsInAllLanguages()
    {
        QFETCH(const QByteArray, key);
        const QByteArray english = entry().value(key).value_or(QByteArray());
        QVERIFY(!english.isEmpty());
        QCOMPARE(locales().size(), 11);
        for (const QString& locale : locales()) {
            const QByteArray translated
                = entry().value(key + '[' + locale.toUtf8() + ']').value_or(QByteArray());
            QVERIFY2(!translated.isEmpty() && translated != english, qPrintable(locale));
        }
    }

    void namesAreTheApplications()
    {
        QCOMPARE(entry().value("Icon"), QByteArray(applicationIdentifier.data()));
        QCOMPARE(entry().value("StartupWMClass"), QByteArray(applicationIdentifier.data()));
    }

    void theDesktopEntrysActionsAreInAllLanguages()
    {
        const QByteArrayList lines = contentOf(source("packaging/com.orvale.kestrum.desktop")).split('\n');
        const auto count = [&lines](const QByteArray& start) {
            return std::count_if(lines.begin(), lines.end(),
                [&start](const QByteArray& line) { return line.startsWith(start); });
        };
        const auto actions = count("[Desktop Action ");
        QVERIFY(actions > 0);
        QCOMPARE(entry().value("Actions").value_or(QByteArray()).count(';'), actions);
        // The program's own name is the same in all languages.
        QCOMPARE(count("Name="), actions + 1);
        for (const QString& locale : locales())
            QCOMPARE(count("Name[" + locale.toUtf8() + "]="), actions);
    }

    void whatSoftwareCentresShowIsInAllLanguages_data()
    {
        QTest::addColumn<QString>("path");
        for (const char* path :
            { "packaging/com.orvale.kestrum.metainfo.xml.in", "packaging/screenshots.xml.in" })
            QTest::newRow(path) << source(path);
    }
    void whatSoftwareCentresShowIsInAllLanguages()
    {
        QFETCH(const QString, path);
        QXmlStreamReader reader(contentOf(path));
        // After each English text follow its translations.
        QStringList missing;
        while (!reader.atEnd()) {
            const bool isText = reader.readNext() == QXmlStreamReader::StartElement
                && QStringList { text("summary"), text("p"), text("li"), text("caption") }.contains(
                    reader.name().toString());
            if (!isText)
                continue;
            const QString language
                = reader.attributes().value(text("xml:lang")).toString().replace(u'-', u'_');
            if (language.isEmpty()) {
                QCOMPARE(missing, QStringList());
                missing = locales();
                QVERIFY(!missing.isEmpty());
            } else {
                QVERIFY2(missing.removeOne(language), qPrintable(language));
            }
        }
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        QCOMPARE(missing, QStringList());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, DesktopFilesTest)

#include "DesktopFilesTest.moc"
