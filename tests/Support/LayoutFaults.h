#pragma once

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/PageScrollBar.h"
#include "Kestrum/Window/SettingsView.h"
#include "tests/Support/Widgets.h"

#include <QAbstractButton>
#include <QAbstractItemDelegate>
#include <QComboBox>
#include <QListView>
#include <QPainter>
#include <QScrollBar>
#include <QSplitter>

namespace kestrum {

/// Finds layout faults in a window by visiting all its visible parts: texts that are cut, parts that overlap their
/// neighbours, and parts that reach out of their parent.
class LayoutFaults {
public:
    static QStringList of(QWidget& window)
    {
        LayoutFaults faults;
        faults.walk(window);
        return faults.m_found;
    }

    /// The faults of all pages at the window's smallest size. Each fault begins with the page's name.
    static QStringList ofPages(SettingsView& view)
    {
        QStringList faults;
        view.resize(view.minimumSize());
        for (const auto& page : allCases<SettingsPage>()) {
            view.showPage(page.value);
            settle();
            for (const QString& fault : of(view))
                faults.append(rawValue(page.value) + u' ' + fault);
        }
        return faults;
    }

private:
    void walk(QWidget& part)
    {
        lookAtText(part);
        // The inner parts of these controls are laid out by the toolkit.
        if (qobject_cast<QComboBox*>(&part) || qobject_cast<QListView*>(&part))
            return;
        const QList<QWidget*> children = visibleChildren(part);
        for (qsizetype i = 0; i < children.size(); ++i) {
            const QRect place = children[i]->geometry();
            if (!room(part, place).contains(place))
                tell(QStringLiteral("reaches out of %1").arg(name(part)), *children[i]);
            for (qsizetype j = 0; j < i; ++j) {
                if (place.intersects(children[j]->geometry()))
                    tell(QStringLiteral("overlaps %1").arg(name(*children[j])), *children[i]);
            }
            walk(*children[i]);
        }
    }

    /// The rectangle within which the children of `part` may be. On a page that scrolls, they may also be below the page's end.
    static QRect room(const QWidget& part, const QRect& place)
    {
        const bool scrolls = qobject_cast<QAbstractScrollArea*>(part.parentWidget()) != nullptr;
        if (scrolls)
            return { 0, place.top(), part.width(), place.height() };
        // In right-to-left layouts, Qt's splitter places its columns a pixel too far.
        const bool isOff = qobject_cast<const QSplitter*>(&part) && part.isRightToLeft();
        return part.rect().adjusted(0, 0, isOff ? 1 : 0, 0);
    }

    static QList<QWidget*> visibleChildren(const QWidget& part)
    {
        QList<QWidget*> result;
        for (auto* child : part.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            // These parts overlap others on purpose: a focus ring covers the gap to the next control, a divider's handle
            // covers both sides, and a page's scroll bar covers the margin.
            const bool liesOver = qobject_cast<FocusRing*>(child) || qobject_cast<QSplitterHandle*>(child)
                || qobject_cast<QScrollBar*>(child) || qobject_cast<PageScrollBar*>(child);
            if (child->isVisible() && !child->isWindow() && !liesOver && !child->size().isEmpty())
                result.append(child);
        }
        return result;
    }

    void lookAtText(QWidget& part)
    {
        if (const auto* shrinking = qobject_cast<ShrinkingLabel*>(&part)) {
            if (shrinking->shownText() != shrinking->text())
                tell(QStringLiteral("is cut"), part);
        } else if (const auto* label = qobject_cast<QLabel*>(&part); label && label->wordWrap()) {
            // A wrapping label needs the width of its longest word and the height of all its lines.
            if (label->width() < label->minimumSizeHint().width()
                || label->height() < label->heightForWidth(label->width()))
                tell(QStringLiteral("is cut"), part);
        } else if (const auto* list = qobject_cast<QListView*>(&part)) {
            for (int row = 0; row < list->model()->rowCount(); ++row) {
                if (isCut(*list, list->model()->index(row, 0)))
                    tell(QStringLiteral("cuts \"%1\"").arg(list->model()->index(row, 0).data().toString()),
                        part);
            }
        } else if (!text(part).isEmpty()) {
            const QSize wanted = part.sizeHint();
            if (part.width() < wanted.width() || part.height() < wanted.height())
                tell(QStringLiteral("is cut"), part);
        }
    }

    /// Whether a row of a list loses ink compared with a drawing in unlimited room. Text that wraps or moves loses no ink.
    static bool isCut(const QListView& list, const QModelIndex& index)
    {
        const QSize size = list.visualRect(index).size();
        const auto ink = [&list, &index, size](int surplus) {
            QStyleOptionViewItem option;
            option.initFrom(&list);
            option.state &= ~QStyle::State_MouseOver; // the highlight would grow with the room
            option.rect = QRect(QPoint(), size + QSize(surplus, 0));
            QImage image(option.rect.size(), QImage::Format_Grayscale8);
            image.fill(Qt::white);
            QPainter painter(&image);
            list.itemDelegate()->paint(&painter, option, index);
            painter.end();
            return inkOf(image);
        };
        return ink(0) < 0.98 * ink(1000);
    }

    static QString text(const QWidget& part)
    {
        if (const auto* label = qobject_cast<const QLabel*>(&part))
            return label->text();
        if (const auto* button = qobject_cast<const QAbstractButton*>(&part))
            return button->text();
        const auto* picker = qobject_cast<const QComboBox*>(&part);
        return picker ? picker->currentText() : QString();
    }

    static QString name(const QWidget& part)
    {
        return QStringLiteral("%1 \"%2\" %3")
            .arg(QString::fromLatin1(part.metaObject()->className()), text(part), part.objectName());
    }

    void tell(const QString& what, const QWidget& part)
    {
        const QRect place(part.mapTo(part.window(), QPoint()), part.size());
        m_found.append(QStringLiteral("%1 at %2,%3 %4x%5 %6")
                           .arg(name(part))
                           .arg(place.x())
                           .arg(place.y())
                           .arg(place.width())
                           .arg(place.height())
                           .arg(what));
    }

    QStringList m_found;
};

} // namespace kestrum
