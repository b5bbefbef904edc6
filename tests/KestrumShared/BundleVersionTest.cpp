#include "KestrumShared/Text/BundleVersion.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class BundleVersionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void versionAndBuildAreOneText_data()
    {
        QTest::addColumn<QByteArray>("info");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const char* info, const char* text) {
            QTest::newRow(name) << QByteArray(info) << QString::fromLatin1(text);
        };
        row("equal", "CFBundleShortVersionString = 1.0; CFBundleVersion = 1.0;", "1.0");
        row("unlike", "CFBundleShortVersionString = 1.0; CFBundleVersion = 7;", "1.0 (7)");
        row("no build", "CFBundleShortVersionString = 1.0;", "1.0 (?)");
        row("no version", "CFBundleVersion = 7;", "? (7)");
        row("neither", "", "?");
        row("not a text", "CFBundleShortVersionString = ( 1.0 ); CFBundleVersion = 7;", "? (7)");
        row("place markers are no format", "CFBundleShortVersionString = \"%2\"; CFBundleVersion = \"%1\";",
            "%2 (%1)");
    }
    void versionAndBuildAreOneText()
    {
        QFETCH(QByteArray, info);
        QFETCH(QString, text);
        const FileTree tree;
        tree.write(QStringLiteral("Contents/Info.plist"), info);
        QCOMPARE(BundleVersion::text(Bundle(tree.root())), text);
    }

    void mainBundleIsMeantWhereNoneIsNamed()
    {
        const FileTree tree;
        tree.write(
            QStringLiteral("Contents/Info.plist"), "CFBundleShortVersionString = 2.0; CFBundleVersion = 41;");
        const Bundle before = Bundle::main();
        Bundle::setMain(Bundle(tree.root()));
        QCOMPARE(BundleVersion::text(), QStringLiteral("2.0 (41)"));
        Bundle::setMain(before);
        QCOMPARE(BundleVersion::text(), QStringLiteral("?"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, BundleVersionTest)
#include "BundleVersionTest.moc"
