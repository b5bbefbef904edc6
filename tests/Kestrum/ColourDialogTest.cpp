#include "tests/Support/ColourWellFixture.h"
#include "tests/Support/TestHome.h"

#include <QLabel>
#include <QLibraryInfo>
#include <QScreen>
#include <QTranslator>

using namespace kestrum;
/// Where the colour dialog opens, and how its texts are laid out.
class ColourDialogTest : public QObject {
    Q_OBJECT
    using Fixture = ColourWellFixture;

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void theDialogOpensBesideTheWindow_data()
    {
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::addColumn<bool>("isWindowAtRight"); // of the screen
        QTest::addColumn<bool>("isDialogAtRight"); // of the window
        QTest::newRow("after the text's end") << Qt::LeftToRight << false << true;
        QTest::newRow("where there is the room") << Qt::LeftToRight << true << false;
        QTest::newRow("from the right") << Qt::RightToLeft << true << false;
        QTest::newRow("from the right, where there is the room") << Qt::RightToLeft << false << true;
    }

    void theDialogOpensBesideTheWindow()
    {
        QFETCH(Qt::LayoutDirection, direction);
        QFETCH(bool, isWindowAtRight);
        Fixture fixture;
        const QRect screen = fixture.window.screen()->availableGeometry();
        fixture.window.setLayoutDirection(direction);
        fixture.page->setFixedSize(100, 100);
        fixture.window.resize(140, 300);
        fixture.window.move(
            isWindowAtRight ? screen.right() + 1 - fixture.window.width() : screen.left(), 100);
        QTest::qWait(10);
        const QRect dialog = fixture.opened()->frameGeometry();
        const QRect window = fixture.window.frameGeometry();
        QTEST(dialog.left() > window.right(), "isDialogAtRight");
        QTEST(dialog.right() >= window.left(), "isDialogAtRight");
        QVERIFY(screen.contains(dialog));
    }

    void whereThereIsNoRoomBesideTheWindowTheDialogStaysOnTheScreen()
    {
        Fixture fixture;
        const QRect screen = fixture.window.screen()->availableGeometry();
        fixture.window.setGeometry(screen.adjusted(60, 60, -20, -60));
        QTest::qWait(10);
        const QRect dialog = fixture.opened()->frameGeometry();
        QVERIFY(screen.contains(dialog));
        QCOMPARE(dialog.left(), screen.left());
    }

    // Arabic letters join, and the marker of an access key changes their shapes.
    void nothingIsCutInTheDialogInArabic()
    {
        QTranslator arabic;
        QVERIFY(arabic.load(QStringLiteral("qtbase_ar"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)));
        QCoreApplication::installTranslator(&arabic);
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        {
            const Fixture fixture;
            const QPointer<QColorDialog> dialog = fixture.opened();
            int seen = 0;
            for (auto* label : dialog->findChildren<QLabel*>()) {
                if (label->text().isEmpty())
                    continue;
                ++seen;
                const auto ink = [label] {
                    const QImage image = label->grab().toImage();
                    int count = 0;
                    for (int y = 0; y < image.height(); ++y) {
                        for (int x = 0; x < image.width(); ++x)
                            count += qGray(image.pixel(x, y)) < 128 ? 1 : 0;
                    }
                    return count;
                };
                const int shown = ink();
                label->resize(label->width() + 40, label->height());
                QVERIFY2(shown >= ink(), qPrintable(label->text()));
            }
            QVERIFY(seen >= 8);
        }
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
        QCoreApplication::removeTranslator(&arabic);
    }
};

KESTRUM_TEST_MAIN(QApplication, ColourDialogTest)
#include "ColourDialogTest.moc"
