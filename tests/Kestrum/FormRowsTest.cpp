#include "Kestrum/Form/Rows.h"

#include "Kestrum/Form/Switch.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/OwnSuite.h"
#include "tests/Support/SettingsWindow.h"

#include <QSignalSpy>

using namespace kestrum;

/// Rows that are bound to this test's own suite of settings. A second store of the suite simulates another process that writes
/// the same file.
class FormRowsTest : public QObject, OwnSuite {
    Q_OBJECT

    static QList<Choice<double>> intervals()
    {
        return { { 1, QStringLiteral("One") }, { 2, QStringLiteral("Two") }, { 5, QStringLiteral("Five") } };
    }

    std::unique_ptr<UserDefaults> m_store;
    std::unique_ptr<UserDefaults> m_other;

    template <class T> Setting<T> setting(const Key<T>& key) const { return Setting<T>(key, *m_store); }

    struct Rows {
        std::unique_ptr<Row> toggle, segments, popup, interval;

        explicit Rows(const FormRowsTest& test)
            : toggle(Form::toggle("Show in menu bar", test.setting(Keys::showCPUItem)))
            , segments(Form::segmented<MeterStyle>("Meter", test.setting(Keys::meterStyle)))
            , popup(Form::picker<CPUReadout>("Readout", test.setting(Keys::cpuReadout)))
            , interval(
                  Form::picker<double>("Refresh interval", test.setting(Keys::refreshInterval), intervals()))
        {
        }
        Switch& theSwitch() const { return *toggle->findChild<Switch*>(); }
        SegmentedPicker& theSegments() const { return *segments->findChild<SegmentedPicker*>(); }
        PopupPicker& thePopup() const { return *popup->findChild<PopupPicker*>(); }
        PopupPicker& theInterval() const { return *interval->findChild<PopupPicker*>(); }

        /// Presses a key to choose an entry while the list is closed.
        static void choose(PopupPicker& picker, int key) { QTest::keyClick(&picker, Qt::Key(key)); }
    };

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }
    void init()
    {
        nextSuite();
        m_store = opened();
        m_store->registerDefaults(SharedSettings::factoryDefaults());
        m_other = opened();
    }

    void makingRowsWritesNothing()
    {
        const Rows rows(*this);
        settle();
        QVERIFY(!QFile::exists(path()));
    }

    void withoutStoredValuesTheDefaultsAreShown()
    {
        const Rows rows(*this);
        QVERIFY(rows.theSwitch().isChecked());
        QCOMPARE(rows.theSegments().index(), 0);
        QCOMPARE(rows.thePopup().currentText(), title(CPUReadout::temperature));
        QCOMPARE(rows.theInterval().index(), 0);
    }

    void entriesAreTheCasesInTheirOrder()
    {
        const Rows rows(*this);
        QCOMPARE(FormHand::titles(rows.theSegments()).join(u' '), QStringLiteral("Bars Wave Compact"));
        QCOMPARE(
            FormHand::titles(rows.thePopup()).join(u' '), QStringLiteral("None Usage Temperature Power"));
    }

    void controlsStoreWhatIsChosen()
    {
        const Rows rows(*this);
        QTest::mouseClick(&rows.theSwitch(), Qt::LeftButton);
        QCOMPARE(m_other->boolean("showCPUItem"), false);
        FormHand::choose(rows.theSegments(), 2);
        QCOMPARE(m_other->string("meterStyle"), QStringLiteral("compact"));
        Rows::choose(rows.thePopup(), Qt::Key_Down);
        QCOMPARE(m_other->string("cpuReadout"), QStringLiteral("power"));
        Rows::choose(rows.theInterval(), Qt::Key_F);
        QVERIFY(m_other->object("refreshInterval").isDouble());
        QCOMPARE(m_other->number("refreshInterval"), 5.0);
    }

    void controlsFollowWhatOthersStore()
    {
        const Rows rows(*this);
        QSignalSpy toggled(&rows.theSwitch(), &Switch::toggled);
        QSignalSpy segment(&rows.theSegments(), &SegmentedPicker::chosen);
        QSignalSpy entry(&rows.thePopup(), &PopupPicker::chosen);
        QVERIFY(m_other->apply({ { QStringLiteral("showCPUItem"), false },
                                   { QStringLiteral("meterStyle"), QStringLiteral("wave") },
                                   { QStringLiteral("cpuReadout"), QStringLiteral("off") },
                                   { QStringLiteral("refreshInterval"), 2 } },
            {}));
        QTRY_VERIFY(!rows.theSwitch().isChecked());
        QCOMPARE(rows.theSegments().index(), 1);
        QCOMPARE(rows.thePopup().currentText(), QStringLiteral("None"));
        QCOMPARE(rows.theInterval().index(), 1);
        QCOMPARE(toggled.size() + segment.size() + entry.size(), 0);
        QVERIFY(m_other->apply({}, m_other->storedDictionary().keys()));
        QTRY_VERIFY(rows.theSwitch().isChecked());
        QCOMPARE(rows.theSegments().index(), 0);
        QCOMPARE(rows.thePopup().currentText(), QStringLiteral("Temperature"));
    }

    void whatIsNoChoiceShowsNoneAndStaysUntilSomebodyChooses()
    {
        const QJsonObject strange { { QStringLiteral("showCPUItem"), QStringLiteral("perhaps") },
            { QStringLiteral("meterStyle"), QStringLiteral("Bars") },
            { QStringLiteral("cpuReadout"), QStringLiteral("temperature ") },
            { QStringLiteral("refreshInterval"), 3 } };
        QVERIFY(m_other->apply(strange, {}));
        const QByteArray file = contentOf(path());
        const Rows rows(*this);
        QVERIFY(rows.theSwitch().isChecked()); // a value that is not a boolean counts as the default
        QCOMPARE(rows.theSegments().index(), -1);
        QCOMPARE(rows.thePopup().index(), -1);
        QCOMPARE(rows.theInterval().index(), -1);
        settle();
        QCOMPARE(contentOf(path()), file);

        FormHand::choose(rows.theSegments(), 0);
        QCOMPARE(m_other->string("meterStyle"), QStringLiteral("bars"));
        QCOMPARE(m_other->object("showCPUItem"), strange[QStringLiteral("showCPUItem")]);
        QCOMPARE(m_other->object("cpuReadout"), strange[QStringLiteral("cpuReadout")]);
        rows.theSwitch().click();
        QCOMPARE(m_other->object("showCPUItem"), QJsonValue(false));
    }

    void aChoiceThatBecomesNoneIsShownSoInTheOpenWindow()
    {
        const Rows rows(*this);
        QVERIFY(m_other->set("meterStyle", QStringLiteral("pie")));
        QTRY_COMPARE(rows.theSegments().index(), -1);
        QVERIFY(m_other->set("meterStyle", 7)); // a number instead of a text counts as the default
        QTRY_COMPARE(rows.theSegments().index(), 0);
    }

    void whatCannotBeSavedGoesBack()
    {
        // A directory in the file's place makes every save fail.
        QVERIFY(QDir().mkpath(path()));
        const Rows rows(*this);
        QTest::mouseClick(&rows.theSwitch(), Qt::LeftButton);
        QVERIFY(rows.theSwitch().isChecked());
        FormHand::choose(rows.theSegments(), 1);
        QCOMPARE(rows.theSegments().index(), 0);
        Rows::choose(rows.thePopup(), Qt::Key_Down);
        QCOMPARE(rows.thePopup().currentText(), QStringLiteral("Temperature"));
        QVERIFY(!m_store->lastError().isEmpty());
        QVERIFY(QDir().rmdir(path()));
        FormHand::choose(rows.theSegments(), 1);
        QCOMPARE(rows.theSegments().index(), 1);
        QCOMPARE(m_store->lastError(), QString());
    }

    void aDeletedRowHearsNothing()
    {
        int looks = 0;
        const Binding<bool> flag(setting(Keys::showCPUItem), [&looks] {
            ++looks;
            return std::optional(true);
        });
        const Binding<MeterStyle> style(setting(Keys::meterStyle), [&looks] {
            ++looks;
            return std::optional(MeterStyle::wave);
        });
        auto page = std::make_unique<QWidget>();
        Form::toggle("Show in menu bar", flag)->setParent(page.get());
        Form::segmented<MeterStyle>("Meter", style)->setParent(page.get());
        Form::picker<MeterStyle>("Meter", style)->setParent(page.get());
        QCOMPARE(looks, 3);
        QVERIFY(m_other->apply({ { QStringLiteral("meterStyle"), QStringLiteral("compact") },
                                   { QStringLiteral("showCPUItem"), false } },
            {}));
        QTRY_COMPARE(looks, 6);
        page.reset();
        int notices = 0;
        connect(m_store.get(), &UserDefaults::changed, this, [&notices] { ++notices; });
        QVERIFY(m_other->set("meterStyle", QStringLiteral("bars")));
        QTRY_VERIFY(notices > 0);
        QCOMPARE(looks, 6);
    }

    void aRowLooksOnlyWhenWhatItShowsMayHaveChanged()
    {
        int looks = 0;
        const Binding<MeterStyle> style(
            setting(Keys::meterStyle),
            [&looks] {
                ++looks;
                return std::optional(MeterStyle::wave);
            },
            Keys::names(Keys::showMemoryPercent));
        const std::unique_ptr<Row> row(Form::picker<MeterStyle>("Meter", style));
        int notices = 0;
        connect(m_store.get(), &UserDefaults::changed, row.get(), [&notices] { ++notices; });
        QVERIFY(m_other->set("settingsPane", QStringLiteral("general")));
        QTRY_COMPARE(notices, 1);
        QCOMPARE(looks, 1);
        QVERIFY(m_other->set("showMemoryPercent", false));
        QTRY_COMPARE(looks, 2);
        QVERIFY(m_other->set("meterStyle", QStringLiteral("compact")));
        QTRY_COMPARE(looks, 3);
    }

    void aBindingCanShowSomethingElseThanIsStored()
    {
        std::optional<MeterStyle> shown;
        const Binding<MeterStyle> style(setting(Keys::meterStyle), [&shown] { return shown; });
        const std::unique_ptr<Row> row(Form::picker<MeterStyle>("Meter", style));
        auto& picker = *row->findChild<PopupPicker*>();
        QCOMPARE(picker.index(), -1);
        shown = MeterStyle::wave;
        QTest::keyClick(&picker, Qt::Key_C);
        QCOMPARE(m_store->string("meterStyle"), QStringLiteral("compact"));
        QCOMPARE(picker.index(), 1);
    }

    void controlsAreNamedByTheirKeysAndTitles()
    {
        const Rows rows(*this);
        QCOMPARE(rows.theSwitch().objectName(), QStringLiteral("showCPUItem"));
        QCOMPARE(rows.theSwitch().accessibleName(), QStringLiteral("Show in menu bar"));
        QCOMPARE(rows.theSegments().objectName(), QStringLiteral("meterStyle"));
        QCOMPARE(rows.theSegments().accessibleName(), QStringLiteral("Meter"));
        QCOMPARE(rows.thePopup().objectName(), QStringLiteral("cpuReadout"));
        QCOMPARE(rows.thePopup().accessibleName(), QStringLiteral("Readout"));
    }
};

KESTRUM_TEST_MAIN(QApplication, FormRowsTest)
#include "FormRowsTest.moc"
