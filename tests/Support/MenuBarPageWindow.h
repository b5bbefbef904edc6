#pragma once

#include "Kestrum/Form/Row.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "Platform/Machine/CoreTopology.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestSession.h"

#include <QLabel>
#include <QLayout>

namespace kestrum {

/// The Menu Bar page in a window of its own, and its parts.
struct MenuBarPageWindow {
    MenuBarPage page;

    /// The state before every test: no stored settings, no region, and cores of one kind.
    static void prepare()
    {
        setSession("LANG=C.UTF-8");
        SettingsWindow::prepare();
        CoreTopology::useTiers({});
    }

    /// Sets two kinds of cores, as on a machine with eight fast ones.
    static void useFasterCores()
    {
        CoreTopology::useTiers({ { QStringLiteral("Performance"), 8 }, { QStringLiteral("Efficiency"), 4 } });
    }

    MenuBarPageWindow()
    {
        page.resize(436, 480);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
    }

    /// The page's cards, from top to bottom.
    QList<Card*> sections() const
    {
        QList<Card*> sections;
        const QLayout* column = page.widget()->layout();
        for (int i = 0; i < column->count(); ++i) {
            if (auto* card = qobject_cast<Card*>(column->itemAt(i)->widget()))
                sections.append(card);
        }
        return sections;
    }
    enum Place { preview, allItems, cpu, memory, disk, sensors };
    Card& section(int place) const { return *sections().at(place); }

    /// The titles of a section's rows, from top to bottom.
    QStringList labels(int place) const
    {
        const Card& card = section(place);
        QList<Row*> rows = card.findChildren<Row*>();
        std::sort(rows.begin(), rows.end(),
            [&](Row* a, Row* b) { return a->mapTo(&card, QPoint()).y() < b->mapTo(&card, QPoint()).y(); });
        QStringList labels;
        for (const Row* row : rows)
            labels.append(row->text());
        return labels;
    }

    /// The text above a section's plate, and the text below it.
    QString heading(int place) const
    {
        const QLayout* layout = section(place).layout();
        QString text;
        for (int i = 0; i < layout->count() - 1; ++i) {
            const auto* label = qobject_cast<QLabel*>(layout->itemAt(i)->widget());
            if (label && !label->isHidden())
                text += label->text();
        }
        return text;
    }
    QString footnote(int place) const
    {
        const QLayout* layout = section(place).layout();
        const auto* label = qobject_cast<QLabel*>(layout->itemAt(layout->count() - 1)->widget());
        return label->isHidden() ? QString() : label->text();
    }

    /// A segmented or a popup picker.
    struct Picker {
        int index() const { return segmented ? segmented->index() : popup->index(); }
        QStringList titles() const
        {
            return segmented ? FormHand::titles(*segmented) : FormHand::titles(*popup);
        }
        void choose(int index) const
        {
            segmented ? FormHand::choose(*segmented, index) : FormHand::choose(*popup, index);
        }
        SegmentedPicker* segmented;
        PopupPicker* popup;
    };
    Picker picker(const QString& key) const
    {
        return { page.findChild<SegmentedPicker*>(key), page.findChild<PopupPicker*>(key) };
    }
    Picker picker(const char* key) const { return picker(QString::fromLatin1(key)); }
};

} // namespace kestrum
