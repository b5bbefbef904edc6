// The size of the desktop's font. Qt has a theme of its own for some desktops, and reads the size from their settings: at a
// program's start, and when a change of colours is announced.

#include "tests/Support/FileContent.h"
#include "tests/Support/LayoutFaults.h"
#include "tests/Support/Programs.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <cstdio>

using namespace kestrum;

namespace {

void tellFont(int points)
{
    write(QFile::decodeName(qgetenv("XDG_CONFIG_HOME")) + QStringLiteral("/kdeglobals"),
        "[General]\nfont=DejaVu Sans," + QByteArray::number(points) + ",-1,5,50,0,0,0,0,0\n");
}

} // namespace

class LargeFontTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }
    void cleanup() { qunsetenv("KESTRUM_LANGUAGE"); }

    void textsFollowTheDesktopsFontFromOneToOneAndAHalfTimes_data()
    {
        addRows<int, double, double>({ { "small", 7, 9.75, 8.25 }, { "ordinary", 10, 10.0, 10.0 * 11 / 13 },
            { "large", 13, 13.0, 11.0 }, { "huge", 30, 14.625, 12.375 } });
    }
    void textsFollowTheDesktopsFontFromOneToOneAndAHalfTimes()
    {
        const auto [desktops, body, footnote] = thisRow<int, double, double>();
        tellFont(desktops);
        const QByteArray said = Programs::output(
            QCoreApplication::applicationFilePath(), TestRunner::again({ QStringLiteral("--say") }));
        const QList<QByteArray> sizes = said.simplified().split(' ');
        QCOMPARE(sizes.size(), 2);
        QCOMPARE(sizes[0].toDouble(), body);
        QCOMPARE(sizes[1].toDouble(), footnote);
    }

    // This test program itself runs with the largest font size.
    void nothingIsCutWithTheLargestTexts_data()
    {
        addRows<QByteArray>(
            { { "en", "en" }, { "de", "de" }, { "ar", "ar" }, { "pl", "pl" }, { "ja", "ja" } });
    }
    void nothingIsCutWithTheLargestTexts()
    {
        QCOMPARE(Theme::font(Theme::TextStyle::body).pointSizeF(), 14.625);
        qputenv("KESTRUM_LANGUAGE", QTest::currentDataTag());
        qputenv("KESTRUM_NO_LOGIN_ITEM", "1");
        SettingsView view; // not active: there is no window manager
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QCOMPARE(LayoutFaults::ofPages(view).join(u'\n'), QString());
        QCOMPARE(view.size(), QSize(640, 480));
    }

    // This test is the last one, because the program keeps the new font.
    void anotherFontIsFollowedAtOnce()
    {
        SettingsView view;
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        const auto size = [&view] { return view.findChild<QLabel*>()->font().pointSizeF(); };
        const double large = size();
        tellFont(10);
        QDBusMessage change = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
        change << QStringLiteral("org.kde.kdeglobals.General") << QStringLiteral("ColorScheme")
               << QVariant::fromValue(QDBusVariant(QStringLiteral("Another")));
        QVERIFY(QDBusConnection::sessionBus().send(change));
        QTRY_VERIFY(size() < large);
        QCOMPARE(Theme::font(Theme::TextStyle::body).pointSizeF(), 10.0);
        QCOMPARE(QApplication::font().pointSizeF(), 10.0);
    }
};

KESTRUM_TEST_MAIN_OF(LargeFontTest)(int argc, char** argv)
{
    qputenv("XDG_CURRENT_DESKTOP", "KDE");
    qputenv("KDE_SESSION_VERSION", "5");
    if (argc == 2 && qstrcmp(argv[1], "--say") == 0) {
        const QApplication application(argc, argv);
        std::printf("%.12f %.12f\n", Theme::font(Theme::TextStyle::body).pointSizeF(),
            Theme::font(Theme::TextStyle::footnote).pointSizeF());
        return 0;
    }
    const TestHome home; // forgets the desktop's name
    qputenv("XDG_CURRENT_DESKTOP", "KDE");
    const VirtualDisplay display;
    const SessionBus bus;
    if (!display.isUp() || !bus.isUp())
        return 1;
    qRegisterMetaType<QDBusVariant>(); // without this type, Qt could not receive the signal
    tellFont(30);
    QApplication application(argc, argv);
    LargeFontTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "LargeFontTest.moc"
