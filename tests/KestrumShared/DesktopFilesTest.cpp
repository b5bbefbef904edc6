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

    void theSummaryForSoftwareCentresIsInAllLanguages()
    {
        QXmlStreamReader reader(contentOf(source("packaging/com.orvale.kestrum.metainfo.xml.in")));
        QStringList languages;
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"summary")
                languages.append(reader.attributes().value(text("xml:lang")).toString().replace(u'-', u'_'));
        }
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        QStringList expected = locales() << QString();
        expected.sort();
        languages.sort();
        QCOMPARE(languages, expected);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, DesktopFilesTest)

#include "DesktopFilesTest.moc"
