#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/MenuBar/MoreMark.h"
#include "KestrumShared/Items/StripBackground.h"
#include "Platform/Machine/CoreTopology.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

#include <QScrollBar>

using namespace kestrum;

class MenuBarPreviewTest : public QObject {
    Q_OBJECT

    static void useThreads(int threads)
    {
        CoreTopology::useTiers({ { QStringLiteral("Performance"), threads / 2 },
            { QStringLiteral("Efficiency"), threads - threads / 2 } });
    }

    static void rowsOfThreads(std::initializer_list<int> counts)
    {
        QTest::addColumn<int>("threads");
        QTest::addColumn<QByteArray>("labels");
        for (const int threads : counts) {
            for (const char* labels : { "icons", "letters" })
                QTest::addRow("%d %s", threads, labels) << threads << QByteArray(labels);
        }
    }

    /// The window with the default settings, and its preview.
    struct Shown {
        SettingsWindow window;
        MenuBarPreview& preview = *window.view.findChild<MenuBarPreview*>();
        MenuBarStrip& strip = *preview.strip();

        QRect place() const { return QRect(strip.mapTo(&preview, QPoint(0, 0)), strip.size()); }
        /// Whether an end of the strip fades into the plate and has an arrow there.
        bool fadesAt(Qt::Edge edge) const
        {
            const int outermost = edge == Qt::LeftEdge ? 0 : strip.width() - 1;
            if (!qobject_cast<MoreMark*>(strip.childAt(outermost, strip.height() / 2)))
                return false;
            const QImage end = preview.grab().toImage().copy(place()).mirrored(edge == Qt::RightEdge, false);
            const QColor plate = StripBackground::plate(SystemAppearance::shared().scheme());
            const FoundPixels ink = pixelsOtherThan(end.copy(0, 0, 16, end.height()), plate);
            return ink.place.left() >= 3 && ink.place.right() <= 13 && ink.count > 8 && ink.count < 60;
        }
    };

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init()
    {
        SettingsWindow::prepare();
        SystemAppearance::shared().setScheme(ColourScheme::light);
        useThreads(4);
    }

    void thePlateFollowsTheScheme_data()
    {
        addRows<ColourScheme, QColor>(
            { { "light", ColourScheme::light, QColor::fromRgbF(0.87F, 0.87F, 0.87F) },
                { "dark", ColourScheme::dark, QColor(0x3A3B3F) } });
    }
    void thePlateFollowsTheScheme()
    {
        const auto [scheme, plate] = thisRow<ColourScheme, QColor>();
        SystemAppearance::shared().setScheme(scheme);
        MenuBarPreview preview;
        preview.resize(600, preview.sizeHint().height());
        const QImage image = pictureOf(preview);
        QCOMPARE(image.pixelColor(40, 8).rgba(), plate.rgba());
        QCOMPARE(image.pixelColor(0, image.height() / 2).rgba(), plate.rgba());
    }

    void theCornersAreFourteenRound()
    {
        MenuBarPreview preview;
        preview.resize(600, preview.sizeHint().height());
        const QImage image = pictureOf(preview);
        QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
        // On the diagonal, the curve begins at 14 − 14/√2 = 4.1.
        QVERIFY(image.pixelColor(3, 3).alpha() < 40);
        QVERIFY(image.pixelColor(4, 4).alpha() > 120);
        QVERIFY(image.pixelColor(10, 0).alpha() < 255);
        QCOMPARE(image.pixelColor(14, 0).alpha(), 255);
        QCOMPARE(image.pixelColor(599, 81).alpha(), 0);
    }

    void theItemsStandAtTheTrailingEndThirtyFromTheEdges_data() { addDirections(); }
    void theItemsStandAtTheTrailingEndThirtyFromTheEdges()
    {
        const auto [direction] = thisRow<Qt::LayoutDirection>();
        MenuBarPreview preview;
        preview.resize(600, preview.sizeHint().height());
        preview.setLayoutDirection(direction);
        QCOMPARE(preview.height(), 22 + 2 * 30);
        pictureOf(preview); // triggers the layout
        const MenuBarStripView& view = *preview.strip()->view();
        const QRectF row = view.widgetRect(QRectF(QPointF(0, 0), view.intrinsicContentSize()));
        const QRectF place = row.translated(view.mapTo(&preview, QPoint(0, 0)));
        QCOMPARE(place.top(), 30.0);
        QCOMPARE(place.bottom(), preview.height() - 30.0);
        if (direction == Qt::LeftToRight)
            QCOMPARE_LT(std::abs(place.right() - 570), 1);
        else
            QCOMPARE(place.left(), 30.0);
        // The items have the menu bar's order in both writing directions.
        QCOMPARE(view.items().first().section, MonitorSection::storage);
    }

    void theStripOfAnOrdinaryMachineIsWholeInTheWindowAsItOpens_data() { rowsOfThreads({ 2, 8, 14, 16 }); }
    void theStripOfAnOrdinaryMachineIsWholeInTheWindowAsItOpens()
    {
        QFETCH(int, threads);
        QFETCH(QByteArray, labels);
        useThreads(threads);
        SharedSettings::store().set("meterLabelStyle", QString::fromLatin1(labels));
        const Shown shown;
        QCOMPARE(shown.strip.size(), shown.strip.view()->sizeHint());
        QVERIFY(shown.preview.rect().contains(shown.place()));
        QVERIFY(!shown.fadesAt(Qt::LeftEdge) && !shown.fadesAt(Qt::RightEdge));
        // The strip has its full distance from the trailing edge, or is centred where the room is smaller.
        const int fromEdge = shown.preview.width() - 1 - shown.place().right();
        const int room = (shown.preview.width() - shown.strip.width()) / 2;
        QCOMPARE(fromEdge, std::min(room, 30 - MenuBarStripView::room.width()));
    }

    void aStripThatIsCutFadesWhereThereIsMore_data() { rowsOfThreads({ 32, 64 }); }
    void aStripThatIsCutFadesWhereThereIsMore()
    {
        QFETCH(int, threads);
        QFETCH(QByteArray, labels);
        useThreads(threads);
        SharedSettings::store().set("meterLabelStyle", QString::fromLatin1(labels));
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            const Shown shown;
            MenuBarStrip& strip = shown.strip;
            const int furthest = strip.view()->width() - strip.width();
            QVERIFY(furthest > 0);
            // The strip takes the whole plate except for the plate's edge.
            QCOMPARE(shown.preview.width() - strip.width(), 2);
            QCOMPARE(strip.offset(), furthest);
            QVERIFY(shown.fadesAt(Qt::LeftEdge));
            QVERIFY(!shown.fadesAt(Qt::RightEdge));
            turnWheel(strip, { 20, 0 });
            QVERIFY(strip.offset() > 0 && strip.offset() < furthest);
            QVERIFY(shown.fadesAt(Qt::LeftEdge));
            QVERIFY(shown.fadesAt(Qt::RightEdge));
            turnWheel(strip, { 12000, 0 });
            QCOMPARE(strip.offset(), 0);
            QVERIFY(!shown.fadesAt(Qt::LeftEdge));
            QVERIFY(shown.fadesAt(Qt::RightEdge));
        }
    }

    void aClickOnTheSignScrollsToTheEnd()
    {
        useThreads(64);
        const Shown shown;
        const QRect place = shown.place();
        const auto click = [&](int x) {
            const QPoint at(x, place.center().y());
            QWidget* under = shown.preview.childAt(at);
            QTest::mouseClick(under, Qt::LeftButton, {}, under->mapFrom(&shown.preview, at));
        };
        const int furthest = shown.strip.offset();
        click(place.left() + 6);
        QVERIFY(shown.strip.offset() < furthest);
        for (int i = 0; i < 5 && shown.strip.offset() > 0; ++i)
            click(place.left() + 6);
        QCOMPARE(shown.strip.offset(), 0);
        for (int i = 0; i < 5; ++i)
            click(place.right() - 6);
        QCOMPARE(shown.strip.offset(), furthest);
    }

    void thePageKeepsTheWheel()
    {
        useThreads(32);
        const Shown shown;
        const QScrollBar& bar = *shown.window.view.findChild<MenuBarPage*>()->verticalScrollBar();
        const auto turn = [&shown](QPoint angle, Qt::KeyboardModifiers modifiers) {
            turnWheel(*shown.strip.view(), angle, modifiers, true);
        };
        const int offset = shown.strip.offset();
        turn({ 0, -120 }, Qt::NoModifier);
        QCOMPARE(shown.strip.offset(), offset);
        QVERIFY(bar.value() > 0);
        turn({ 0, 120 }, Qt::NoModifier);
        QCOMPARE(bar.value(), 0);
        turn({ 0, 120 }, Qt::ShiftModifier);
        QVERIFY(shown.strip.offset() < offset);
        QCOMPARE(bar.value(), 0);
    }

    void theItemThatTheKeyboardIsAtIsClearOfTheFades()
    {
        useThreads(32);
        const Shown shown;
        MenuBarStripView& view = *shown.strip.view();
        view.setFocus(Qt::TabFocusReason);
        const QRect clear = shown.strip.rect().adjusted(20, 0, -20, 0);
        for (const int key :
            { 0, int(Qt::Key_Left), int(Qt::Key_Right), int(Qt::Key_Right), int(Qt::Key_Right) }) {
            if (key)
                QTest::keyClick(&view, Qt::Key(key));
            const QRect item = view.backdropRect(*view.item(*view.focused())).toAlignedRect();
            const QRect place(view.mapToParent(item.topLeft()), item.size());
            // At an end of the strip there is no fade.
            const bool isFirst = view.focused() == view.items().first().section;
            const bool isLast = view.focused() == view.items().last().section;
            QVERIFY(isFirst ? place.left() >= 0 : place.left() >= clear.left());
            QVERIFY(isLast ? place.right() <= shown.strip.rect().right() : place.right() <= clear.right());
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarPreviewTest)
#include "MenuBarPreviewTest.moc"
