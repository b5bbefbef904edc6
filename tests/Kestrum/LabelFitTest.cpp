#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Machine/CoreTopology.h"
#include "tests/Support/LayoutFaults.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/StringsTable.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QHBoxLayout>
#include <cmath>

using namespace kestrum;

/// The window at its smallest size, in every language and in a pseudo language with longer texts than any other.
class LabelFitTest : public QObject {
    Q_OBJECT

    static constexpr char pseudoCode[] = "en-XA";

    static QStringList keys()
    {
        return StringsTable(qEnvironmentVariable("KESTRUM_SOURCE")
            + QStringLiteral("/Resources/de.lproj/Localizable.strings"))
            .keys;
    }

    /// Returns `text` with accents, which the application's English texts lack, and two fifths longer.
    static QString pseudo(QString text)
    {
        const qsizetype more = qsizetype(std::ceil(0.4 * double(text.size())));
        const QString filling
            = text.contains(u' ') ? QStringLiteral(" wîth möré wörds thån") : QStringLiteral("föråwhîlé");
        const QString plain = QStringLiteral("AEIOUaeiou");
        const QString accented = QStringLiteral("ÅÉÎÖÛåéîöû");
        for (QChar& letter : text) {
            if (const qsizetype i = plain.indexOf(letter); i >= 0)
                letter = accented[i];
        }
        QString end = filling.repeated(int(more / filling.size()) + 1).left(more);
        if (end.endsWith(u' '))
            end.back() = u'ö';
        return text + end;
    }

    static QByteArray pseudoTable()
    {
        QString table;
        for (const QString& key : keys())
            table += QStringLiteral("\"%1\" = \"%2\";\n").arg(key, pseudo(key));
        return table.toUtf8();
    }

    /// Makes the window as small as it can be, and shows `page` in it.
    static void show(SettingsWindow& w, SettingsPage page)
    {
        w.view.resize(w.view.minimumSize());
        w.view.showPage(page);
        settle();
        QCOMPARE(w.view.size(), QSize(640, 480));
        QCOMPARE(w.sidebarWidth(), 204);
    }

    /// All visible and accessible texts of a window, except those that are the same in every language.
    static QSet<QString> texts(const SettingsWindow& w)
    {
        QSet<QString> result;
        for (const QWidget* part : w.view.findChildren<QWidget*>()) {
            result += { part->accessibleName(), part->accessibleDescription(), part->toolTip() };
            if (const auto* label = qobject_cast<const QLabel*>(part))
                result += label->text();
            else if (const auto* button = qobject_cast<const QAbstractButton*>(part))
                result += button->text();
            else if (const auto* picker = qobject_cast<const QComboBox*>(part)) {
                for (int i = 0; i < picker->count(); ++i)
                    result += picker->itemText(i);
            } else if (const auto* list = qobject_cast<const Sidebar*>(part)) {
                for (int row = 0; row < list->model()->rowCount(); ++row)
                    result += list->model()->index(row, 0).data().toString();
            }
        }
        result -= { QString(), QStringLiteral("Kestrum") };
        for (const auto& [code, name] : AppLanguage::available())
            result -= name;
        return result;
    }

    static void eachLanguage()
    {
        QTest::addColumn<QString>("code");
        for (const QString& code : Bundle::main().localizations())
            QTest::newRow(qPrintable(code)) << code;
        QTest::newRow("longer by two fifths") << QString::fromUtf8(pseudoCode);
    }

    std::optional<TestBundle> m_pseudo;

    void speak(const QString& code)
    {
        if (code == QLatin1StringView(pseudoCode)) {
            m_pseudo.emplace("{ CFBundleShortVersionString = \"1.4\"; CFBundleVersion = \"27\"; }",
                QList<QByteArray> { "en", pseudoCode });
            m_pseudo->writeTable(pseudoCode, pseudoTable());
        }
        qputenv("KESTRUM_LANGUAGE", code.toUtf8());
        QCOMPARE(AppLanguage::code(), code);
    }

private Q_SLOTS:
    void initTestCase()
    {
        SettingsWindow::prepareProgram();
        // With two kinds of cores, the page has one more row.
        CoreTopology::useTiers({ { QStringLiteral("Performance"), 4 }, { QStringLiteral("Efficiency"), 4 } });
        qputenv("KESTRUM_NO_LOGIN_ITEM", "1");
    }
    void init()
    {
        SettingsWindow::prepare();
        auto& store = SharedSettings::store();
        store.set(Keys::updatesAvailable.name, QStringLiteral("99.0 (9999)"));
        for (const char* accent : { "cpuAccent", "cpuFastCoreAccent", "memoryAccent", "storageAccent" })
            store.set(accent, QStringLiteral("custom:srgb:0.5000,0.2500,0.7500"));
    }
    void cleanup()
    {
        m_pseudo.reset();
        qunsetenv("KESTRUM_LANGUAGE");
    }

    void faultsAreFound()
    {
        QWidget window;
        window.resize(200, 200);
        auto* cut = new QLabel(QStringLiteral("A text that is far too long"), &window);
        cut->setGeometry(0, 0, 50, 20);
        auto* wrapped = new QLabel(QStringLiteral("A text that needs several lines"), &window);
        wrapped->setWordWrap(true);
        wrapped->setGeometry(0, 100, 100, 20);
        auto* over = new QWidget(&window);
        over->setGeometry(40, 10, 60, 20);
        auto* out = new QWidget(&window);
        out->setGeometry(150, 150, 51, 10);
        window.show();
        QStringList found;
        for (const QString& fault : LayoutFaults::of(window))
            found.append(fault.section(QStringLiteral(" at "), 1).section(u'"', 0, 0).trimmed());
        QCOMPARE(found.join(u'|'),
            QStringLiteral("0,0 50x20 is cut|0,100 100x20 is cut|40,10 60x20 overlaps QLabel|"
                           "150,150 51x10 reaches out of QWidget"));
    }

    void nothingIsCutInTheSmallestWindow_data() { eachLanguage(); }
    void nothingIsCutInTheSmallestWindow()
    {
        QFETCH(QString, code);
        speak(code);
        // The offer's title never wraps: it may be elided, and has a tool tip then.
        if (m_pseudo)
            SharedSettings::store().remove(Keys::updatesAvailable.name);
        SettingsWindow w;
        QCOMPARE(LayoutFaults::ofPages(w.view).join(u'\n'), QString());
        QCOMPARE(w.view.size(), QSize(640, 480));
        QCOMPARE(w.sidebarWidth(), 204);
    }

    void everySentenceFitsARow_data() { eachLanguage(); }
    void everySentenceFitsARow()
    {
        QFETCH(QString, code);
        speak(code);
        for (const QString& key : keys()) {
            for (const bool hasControl : { false, true }) {
                Row row(AppLanguage::string(key),
                    hasControl ? new PushButton(AppLanguage::string("Open Login Items…")) : nullptr);
                row.resize(403, row.heightForWidth(403)); // as in the smallest window's cards
                row.show();
                QCOMPARE(LayoutFaults::of(row).join(u'\n'), QString());
            }
        }
    }

    void everyChoiceFitsItsPicker_data() { eachLanguage(); }
    void everyChoiceFitsItsPicker()
    {
        QFETCH(QString, code);
        speak(code);
        for (const QString& key : keys()) {
            PopupPicker picker;
            picker.addEntry(AppLanguage::string(key));
            // The ink that the title adds to the picker's picture.
            const auto titleInk = [&picker](int width) {
                picker.resize(width, picker.sizeHint().height());
                picker.setIndex(-1);
                const double others = inkOf(picker.grab().toImage());
                picker.setIndex(0);
                return inkOf(picker.grab().toImage()) - others;
            };
            const int width = picker.sizeHint().width();
            QVERIFY2(titleInk(width) > 0.97 * titleInk(width + 200), qPrintable(picker.itemText(0)));
        }
    }

    void everyTextOfTheWindowIsLookedUp()
    {
        speak(QString::fromUtf8(pseudoCode));
        static const QRegularExpression number(QStringLiteral("^[0-9.]+ \\([0-9]+\\)$|^#[0-9a-f]{6}$"));
        SettingsWindow w;
        for (const auto& page : allCases<SettingsPage>()) {
            show(w, page.value);
            for (const QString& text : texts(w)) {
                const bool isOurs = text.contains(QRegularExpression(QStringLiteral("[ÅÉÎÖÛåéîöû]")));
                QVERIFY2(isOurs || number.match(text).hasMatch(), qPrintable(text));
            }
        }
    }

    void arabicMirrorsTheWindow()
    {
        speak(QStringLiteral("ar"));
        SettingsWindow w;
        show(w, SettingsPage::general);
        QVERIFY(w.sidebar().mapTo(&w.view, QPoint()).x() > w.view.pageWidget()->geometry().x());
        const auto* label = w.view.pageWidget()->findChild<Row*>()->findChild<QLabel*>();
        QVERIFY(label->geometry().center().x() > label->buddy()->geometry().center().x());
    }
};

KESTRUM_TEST_MAIN_APART(QApplication, LabelFitTest)
#include "LabelFitTest.moc"
