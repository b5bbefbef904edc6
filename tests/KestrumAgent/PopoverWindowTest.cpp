// The popover's window: sizes, presses, scrolling, the keyboard, and what screen readers are told.

#include "KestrumShared/Popover/PopoverFrame.h"
#include "tests/Support/PopoverWindowFixture.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

using namespace kestrum;

using Kind = PanelAction::Kind;

class PopoverWindowTest : public QObject {
    Q_OBJECT

    static Kind actedKind(const QSignalSpy& acted, int index = 0)
    {
        return acted.value(index).value(0).value<PanelAction>().kind;
    }
    static void key(PopoverWindowFixture& popover, Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&popover.window, key, modifiers);
    }
    /// Presses `keys` one after the other, and returns what has the focus after each.
    static QStringList focusedBy(PopoverWindowFixture& popover, const QList<Qt::Key>& keys)
    {
        QStringList names;
        for (const Qt::Key each : keys) {
            key(popover, each);
            names.append(popover.focused());
        }
        return names;
    }

private Q_SLOTS:
    void itIsAsLargeAsItsContentButNotHigherThanTheRoom()
    {
        PopoverWindowFixture popover;
        QCOMPARE(popover.window.sizeFor(10000), QSize(300, 40 + 100 + 200 + 3));
        QCOMPARE(popover.window.sizeFor(200), QSize(300, 200));
        popover.scale = 1.5;
        popover.show();
        QCOMPARE(popover.window.size(), QSize(450, 515));
    }

    void largerTextsMakeItLargerWithinLimits()
    {
        QCOMPARE(PopoverWindow::scaleFor(9), 1.0);
        QCOMPARE(PopoverWindow::scaleFor(13.33), 1.0);
        QCOMPARE(PopoverWindow::scaleFor(16), 16 / 13.33);
        QCOMPARE(PopoverWindow::scaleFor(40), 1.5);
        QCOMPARE(PopoverWindow::scaleFor(-1), 1.0); // a font with a size in points has no size in pixels
    }

    void withoutTranslucencyItsCornersAreCutOff()
    {
        PopoverWindowFixture popover;
        QVERIFY(!popover.window.testAttribute(Qt::WA_TranslucentBackground));
        for (const double scale : { 1.0, 1.5 }) {
            popover.scale = scale;
            popover.show();
            const QRegion shape = popover.window.mask();
            const QRect rect = popover.window.rect();
            QCOMPARE(shape.boundingRect(), rect);
            const int radius = int(PopoverFrame::radius * scale);
            // A circle is 0.29 of its radius away from its square's corner, along each side.
            const QPoint cut(int(radius * 0.29) - 1, int(radius * 0.29) - 1);
            const QPoint kept = cut + QPoint(2, 2);
            for (const auto& [x, y] :
                { std::pair(1, 1), std::pair(-1, 1), std::pair(1, -1), std::pair(-1, -1) }) {
                const auto at = [&, x = x, y = y](QPoint inner) {
                    return QPoint(x > 0 ? inner.x() : rect.right() - inner.x(),
                        y > 0 ? inner.y() : rect.bottom() - inner.y());
                };
                QVERIFY(!shape.contains(at({ 0, 0 })) && !shape.contains(at(cut)));
                QVERIFY(shape.contains(at(kept)));
                QVERIFY(shape.contains(at({ radius, 0 })) && shape.contains(at({ 0, radius })));
            }
            QVERIFY(shape.contains(rect.center()));
        }
    }

    void aShadowIsAroundItAndChangesNothingElse()
    {
        PopoverWindowFixture plain;
        PopoverWindowFixture shadowed;
        for (PopoverWindowFixture* each : { &plain, &shadowed })
            each->window.setAttribute(Qt::WA_TranslucentBackground);
        shadowed.window.setShadowRoom({ 100, 6, 100, 100 });
        for (const double scale : { 1.0, 1.5 }) {
            plain.scale = shadowed.scale = scale;
            plain.show();
            shadowed.show();
            QMargins around = (PopoverFrame { true }.margins() * scale).toMargins();
            around.setTop(6);
            QCOMPARE(shadowed.window.contentsMargins(), around);
            shadowed.window.setFixedSize(shadowed.window.sizeFor(10000).grownBy(around));
            const QRect body = shadowed.window.contentsRect();
            QCOMPARE(body.size(), plain.window.size());
            QCOMPARE(shadowed.window.rectOf({ 1 }), plain.window.rectOf({ 1 }).translated(body.topLeft()));

            const QImage picture = shadowed.window.grab().toImage();
            const QPoint middle = body.center();
            for (const QPoint at :
                { QPoint(middle.x(), body.bottom() + 5), QPoint(body.left() - 5, middle.y()),
                    QPoint(body.right() + 5, middle.y()), QPoint(middle.x(), body.top() - 5) }) {
                const int alpha = picture.pixelColor(at).alpha();
                QVERIFY(alpha > 0 && alpha < 255);
            }
            // Its outermost pixels are clear, so that no edge is seen.
            QVERIFY(picture.pixelColor(0, middle.y()).alpha() <= 2);
            // The corners are round, so they are left out.
            const QMargins corners = QMargins(1, 1, 1, 1) * int(std::ceil(PopoverFrame::radius * scale));
            QCOMPARE(picture.copy(body.marginsRemoved(corners)),
                plain.window.grab().toImage().copy(plain.window.rect().marginsRemoved(corners)));

            QSignalSpy acted(&shadowed.window, &PopoverWindow::acted);
            QTest::mouseClick(
                &shadowed.window, Qt::LeftButton, {}, (QPointF(282, 20) * scale).toPoint() + body.topLeft());
            QCOMPARE(actedKind(acted), Kind::openSettings);
        }
    }

    // The mouse

    void aPressAndReleaseOnOneElementActs()
    {
        PopoverWindowFixture popover;
        QSignalSpy acted(&popover.window, &PopoverWindow::acted);
        const QPoint gear(282, 20), pin(252, 20);
        QTest::mousePress(&popover.window, Qt::LeftButton, {}, pin);
        QTest::mouseRelease(&popover.window, Qt::LeftButton, {}, gear);
        QTest::mouseClick(&popover.window, Qt::RightButton, {}, gear);
        QVERIFY(acted.isEmpty());
        QTest::mouseClick(&popover.window, Qt::LeftButton, {}, gear);
        QCOMPARE(acted.count(), 1);
        QCOMPARE(actedKind(acted), Kind::openSettings);
    }

    void atAScaleTheElementsAreWhereTheyAreSeen()
    {
        PopoverWindowFixture popover;
        popover.scale = 1.5;
        popover.show();
        QSignalSpy acted(&popover.window, &PopoverWindow::acted);
        QTest::mouseClick(&popover.window, Qt::LeftButton, {}, QPoint(282, 20) * 1.5);
        QCOMPARE(actedKind(acted), Kind::openSettings);
    }

    // Scrolling

    void whatDoesNotFitIsScrolledBelowTheHeader()
    {
        PopoverWindowFixture popover;
        popover.list.colour = Qt::green;
        popover.graph.colour = Qt::blue;
        popover.show(200);
        const auto at = [&popover](int y) { return popover.window.grab().toImage().pixelColor(100, y); };
        QCOMPARE(at(60), QColor(Qt::green));
        QCOMPARE(at(190), QColor(Qt::blue));
        QWheelEvent wheel(QPointF(100, 100), popover.window.mapToGlobal(QPointF(100, 100)), {}, { 0, -240 },
            {}, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&popover.window, &wheel);
        QCOMPARE(popover.window.scrolled(), 96.0);
        QCOMPARE(at(20), QColor(Qt::red)); // the header stays
        QCOMPARE(at(60), QColor(Qt::blue));
        key(popover, Qt::Key_PageDown);
        QCOMPARE(popover.window.scrolled(), 343.0 - 200);
        key(popover, Qt::Key_PageUp);
        QCOMPARE(popover.window.scrolled(), 0.0);
    }

    void whatIsBelowTheHeaderCannotBePressedThroughIt()
    {
        PopoverWindowFixture popover;
        popover.show(200);
        QWheelEvent wheel(QPointF(100, 100), popover.window.mapToGlobal(QPointF(100, 100)), {}, { 0, -90 },
            {}, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&popover.window, &wheel);
        QCOMPARE(popover.window.scrolled(), 36.0);
        QSignalSpy acted(&popover.window, &PopoverWindow::acted);
        // The link, which was at 56, is now where the header's left part is.
        QTest::mouseClick(&popover.window, Qt::LeftButton, {}, QPoint(20, 20));
        QVERIFY(acted.isEmpty());
    }

    void theFocusIsScrolledIntoView()
    {
        PopoverWindowFixture popover;
        popover.show(90);
        key(popover, Qt::Key_End);
        QCOMPARE(popover.focused(), QStringLiteral("Kernel, cores 0.1"));
        const QRectF shown = popover.window.rectOf(popover.window.focus().path());
        QVERIFY(QRectF(0, 40, 300, 50).contains(shown));
        key(popover, Qt::Key_Home);
        QVERIFY(QRectF(0, 40, 300, 50).contains(popover.window.rectOf(popover.window.focus().path())));
    }

    // The keyboard

    void tabGoesThroughAllThatCanBeUsed()
    {
        PopoverWindowFixture popover;
        const QList<Qt::Key> tabs(7, Qt::Key_Tab);
        QCOMPARE(focusedBy(popover, tabs).join(u'|'),
            QStringLiteral("Keep open|Settings…|Open System Monitor|Firefox, cores 3.9|cargo, cores 2.2|"
                           "Kernel, cores 0.1|Keep open"));
        QCOMPARE(focusedBy(popover, { Qt::Key_Backtab }), QStringList(QStringLiteral("Kernel, cores 0.1")));
    }

    void theArrowsGoThroughTheRows()
    {
        PopoverWindowFixture popover;
        using enum Qt::Key;
        QCOMPARE(focusedBy(popover, { Key_Down, Key_Down, Key_Up, Key_Up, Key_End, Key_Down, Key_Home })
                     .join(u'|'),
            QStringLiteral("Firefox, cores 3.9|cargo, cores 2.2|Firefox, cores 3.9|Firefox, cores 3.9|"
                           "Kernel, cores 0.1|Kernel, cores 0.1|Firefox, cores 3.9"));
    }

    void keysAct()
    {
        PopoverWindowFixture popover;
        QSignalSpy acted(&popover.window, &PopoverWindow::acted);
        QSignalSpy closed(&popover.window, &PopoverWindow::closeRequested);
        QSignalSpy stepped(&popover.window, &PopoverWindow::neighbourRequested);
        QSignalSpy menu(&popover.window, &PopoverWindow::menuRequested);
        QVERIFY(QTest::qWaitForWindowActive(&popover.window)); // for shortcuts
        key(popover, Qt::Key_Return);                          // without a focus
        QVERIFY(acted.isEmpty());
        key(popover, Qt::Key_P);
        key(popover, Qt::Key_Return, Qt::ControlModifier);
        key(popover, Qt::Key_Tab);
        key(popover, Qt::Key_Tab);
        key(popover, Qt::Key_Return);
        QCOMPARE(acted.count(), 3);
        QCOMPARE(actedKind(acted, 0), Kind::togglePin);
        QCOMPARE(actedKind(acted, 1), Kind::openSystemMonitor);
        QCOMPARE(actedKind(acted, 2), Kind::openSettings);
        key(popover, Qt::Key_Left);
        key(popover, Qt::Key_Right);
        QCOMPARE(stepped.value(0).value(0).toInt(), -1);
        QCOMPARE(stepped.value(1).value(0).toInt(), 1);
        key(popover, Qt::Key_Menu);
        QCOMPARE(menu.count(), 1);
        key(popover, Qt::Key_Escape);
        QCOMPARE(closed.count(), 1);
    }

    void copyTakesTheFocusedRowOrAll()
    {
        PopoverWindowFixture popover;
        key(popover, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(popover.copied, QStringLiteral("CPU\t49 %\nAPPS\nFirefox\t3.9\ncargo\t2.2\nKernel\t0.1\n"));
        key(popover, Qt::Key_Down);
        key(popover, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(popover.copied, QStringLiteral("Firefox\t3.9"));
    }

    void theFocusIsSeenOnlyAfterKeys()
    {
        PopoverWindowFixture popover;
        const QImage plain = popover.window.grab().toImage();
        key(popover, Qt::Key_Down);
        QVERIFY(popover.window.grab().toImage() != plain);
        QTest::mouseClick(&popover.window, Qt::LeftButton, {}, QPoint(100, 300));
        QCOMPARE(popover.window.grab().toImage(), plain);
    }

    void theFocusStaysWhenValuesChangeAndGoesWithItsElement()
    {
        PopoverWindowFixture popover;
        key(popover, Qt::Key_End);
        popover.list.elements[0].children[3].columns[1] = QStringLiteral("0.2");
        popover.show();
        QCOMPARE(popover.window.focus().path(), (PopoverWindow::Path { 3, 3 }));
        popover.list.elements[0].children.removeLast();
        popover.show();
        QVERIFY(popover.window.focus().path().isEmpty());
    }

    // Screen readers

    void aScreenReaderFindsADialogWithAllElements()
    {
        PopoverWindowFixture popover;
        QAccessibleInterface* dialog = QAccessible::queryAccessibleInterface(&popover.window);
        QCOMPARE(dialog->role(), QAccessible::Dialog);
        QCOMPARE(dialog->text(QAccessible::Name), QStringLiteral("CPU, 49 %"));
        QCOMPARE(dialog->childCount(), 6);
        QCOMPARE(dialog->child(1)->role(), QAccessible::CheckBox);
        QVERIFY(!dialog->child(1)->state().checked);
        QAccessibleInterface* apps = dialog->child(3);
        QCOMPARE(apps->role(), QAccessible::Grouping);
        QCOMPARE(apps->childCount(), 4);
        QAccessibleInterface* firefox = apps->child(1);
        QCOMPARE(firefox->role(), QAccessible::ListItem);
        QCOMPARE(firefox->text(QAccessible::Name), QStringLiteral("Firefox, cores 3.9"));
        QCOMPARE(firefox->parent(), apps);
        QCOMPARE(apps->parent(), dialog);
        QCOMPARE(apps->indexOfChild(firefox), 1);
        QCOMPARE(firefox->rect().topLeft(), popover.window.mapToGlobal(QPoint(12, 70)));
        QAccessibleInterface* swap = dialog->child(5);
        QCOMPARE(swap->role(), QAccessible::ProgressBar);
        QCOMPARE(swap->valueInterface()->currentValue().toDouble(), 25.0);
        QVERIFY(!dialog->child(4)->valueInterface());
    }

    void aScreenReaderPressesAndFocuses()
    {
        PopoverWindowFixture popover;
        QSignalSpy acted(&popover.window, &PopoverWindow::acted);
        QAccessibleInterface* dialog = QAccessible::queryAccessibleInterface(&popover.window);
        QAccessibleInterface* gear = dialog->child(2);
        QVERIFY(gear->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
        gear->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(actedKind(acted), Kind::openSettings);
        QAccessibleInterface* firefox = dialog->child(3)->child(1);
        QVERIFY(
            !firefox->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
        firefox->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
        QCOMPARE(popover.focused(), QStringLiteral("Firefox, cores 3.9"));
        QVERIFY(firefox->state().focused || !popover.window.hasFocus());
    }

    void aScreenReadersElementsLiveAsLongAsTheirPlaces()
    {
        PopoverWindowFixture popover;
        QAccessibleInterface* dialog = QAccessible::queryAccessibleInterface(&popover.window);
        QAccessibleInterface* kernel = dialog->child(3)->child(3);
        popover.list.elements[0].children[3].name = QStringLiteral("Kernel, cores 0.2");
        popover.show();
        QCOMPARE(dialog->child(3)->child(3), kernel);
        QCOMPARE(kernel->text(QAccessible::Name), QStringLiteral("Kernel, cores 0.2"));
        popover.list.elements[0].children.removeLast();
        popover.show();
        QVERIFY(!kernel->isValid());
        QVERIFY(kernel->text(QAccessible::Name).isEmpty());
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoverWindowTest)
#include "PopoverWindowTest.moc"
