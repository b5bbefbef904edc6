// SPDX-License-Identifier: MIT
#include "Kestrum/Window/SettingsView.h"

#include "Kestrum/Agent/AgentRow.h"
#include "Kestrum/Agent/UpdateOfferRow.h"
#include "Kestrum/Form/AccessibleGroup.h"
#include "Kestrum/Form/Theme.h"
#include "Kestrum/Window/NonCollapsibleSidebarProbe.h"
#include "Kestrum/Window/SaveNotice.h"
#include "Kestrum/Window/Sidebar.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Desktop/ToolkitTexts.h"

#include <QApplication>
#include <QLocale>
#include <QPaintEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>

namespace kestrum {

namespace {

constexpr int minimumSidebarWidth = 204;
constexpr int maximumSidebarWidth = 320;
constexpr QSize minimumWindow { 640, 480 };

/// All widgets of `content` that can have the focus, except widgets in separate windows. The order is the same in every
/// language.
QWidgetList focusTargets(const QWidget& content)
{
    QWidgetList targets;
    for (QWidget* part : content.findChildren<QWidget*>()) {
        if (part->focusPolicy() != Qt::NoFocus && part->window() == content.window())
            targets.append(part);
    }
    return targets;
}

/// The hairline between the columns, which can be dragged.
class Hairline final : public QSplitterHandle {
public:
    using QSplitterHandle::QSplitterHandle;

private:
    void paintEvent(QPaintEvent*) override
    {
        // A handle of one point also accepts the pointer beside the line. The line itself is the contents rectangle.
        QPainter(this).fillRect(
            contentsRect(), Theme::colourOn(Theme::Colour::window, Theme::Colour::separator));
    }
};

class SplitView final : public QSplitter {
public:
    SplitView() { setHandleWidth(1); }

private:
    QSplitterHandle* createHandle() override { return new Hairline(orientation(), this); }
};

/// The line between the pages and the sidebar's foot. The row of an update offer has its own line. Two lines would look like a
/// thick one, so this line takes no space while there is an offer.
class SidebarDivider final : public QWidget {
public:
    explicit SidebarDivider(UpdateOfferRow* offer)
    {
        setFixedHeight(1);
        offer->installEventFilter(this);
    }

private:
    bool eventFilter(QObject* offer, QEvent* event) override
    {
        if (event->type() == QEvent::Resize)
            setFixedHeight(static_cast<QResizeEvent*>(event)->size().height() == 0 ? 1 : 0);
        return QWidget::eventFilter(offer, event);
    }
    void paintEvent(QPaintEvent*) override
    {
        QPainter(this).fillRect(rect(), Theme::colour(Theme::Colour::separator));
    }
};

/// The window's first column and its background: the list of pages, and the agent's rows at the foot.
class SidebarColumn final : public QWidget {
public:
    SidebarColumn(Sidebar* sidebar, AgentController& agent)
    {
        setMinimumWidth(minimumSidebarWidth);
        setMaximumWidth(maximumSidebarWidth);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        layout->addWidget(sidebar, 1);
        auto* offer = new UpdateOfferRow;
        layout->addWidget(new SidebarDivider(offer));
        layout->addWidget(offer);
        layout->addWidget(new AgentRow(agent));
        new NonCollapsibleSidebarProbe(this);
    }

private:
    void paintEvent(QPaintEvent* event) override
    {
        QPainter(this).fillRect(event->rect(), Theme::colour(Theme::Colour::sidebar));
    }
};

} // namespace

struct SettingsView::Whereabouts {
    QList<int> columns { minimumSidebarWidth, minimumWindow.width() };
    qsizetype focus = -1; ///< index in `focusTargets`, −1 for none
    int scrolled = 0;
};

SettingsView::SettingsView(QWidget* parent)
    : QWidget(parent)
{
    groupForAssistance<SettingsView, QAccessible::Window>();
    setMinimumSize(minimumWindow);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    adoptScheme();
    connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, &SettingsView::adoptScheme);
    rebuild();

    UserDefaults& store = SharedSettings::store();
    const auto showNotice = [this] { m_notice->look(); };
    connect(&store, &UserDefaults::saveFailed, this, showNotice);
    connect(&store, &UserDefaults::saveSucceeded, this, showNotice);
    // The settings file may have become readable.
    connect(&store, &UserDefaults::changed, this, showNotice);
    Setting { Keys::language }.observe(this, [this](const QString&) { rebuild(); });
    Setting { Keys::settingsPane }.observe(this, [this](const QString&) { showPage(storedPage()); });

    int number = 0;
    for (const auto& entry : allCases<SettingsPage>())
        new QShortcut(
            Qt::CTRL | Qt::Key(Qt::Key_1 + number++), this, [this, page = entry.value] { selectPage(page); });
    new QShortcut(Qt::CTRL | Qt::Key_W, this, [this] { close(); });
    new QShortcut(Qt::CTRL | Qt::Key_Q, this, [] { QApplication::closeAllWindows(); });
}

SettingsPage SettingsView::storedPage()
{
    // If the stored text names no page, use the default.
    return fromRawValue<SettingsPage>(Setting { Keys::settingsPane }.value())
        .value_or(*fromRawValue<SettingsPage>(factoryDefault(Keys::settingsPane)));
}

SettingsPage SettingsView::page() const
{
    return m_sidebar->page();
}

void SettingsView::selectPage(SettingsPage page)
{
    showPage(page);
    Setting { Keys::settingsPane }.set(rawValue(page));
}

void SettingsView::showPage(SettingsPage page)
{
    if (m_pageWidget && m_sidebar->page() == page && m_shownPage == page)
        return;
    m_shownPage = page;
    m_sidebar->setPage(page);
    // If the focus is on the old page, move it first: it would be lost with the old page.
    if (m_pageWidget && m_pageWidget->isAncestorOf(focusWidget()))
        m_sidebar->setFocus();
    delete m_pageWidget;
    m_pageWidget = enumerationCase(page).make();
    m_pageColumn->addWidget(m_pageWidget, 1);
    // Show the page at once: the layout waits for the event loop, and a frame without a page could be painted first.
    m_pageWidget->show();
}

int SettingsView::pageHeight() const
{
    const QLayout& column = *m_pageWidget->widget()->layout();
    return m_pageWidget->y() + column.totalHeightForWidth(m_pageWidget->viewport()->width());
}

void SettingsView::rebuild()
{
    const QLocale locale = ToolkitTexts::locale(AppLanguage::code());
    setLocale(locale);
    QGuiApplication::setLayoutDirection(locale.textDirection());

    const Whereabouts place = whereabouts();
    delete m_split;
    m_pageWidget = nullptr;
    m_font = Theme::font(Theme::TextStyle::body);

    m_split = new SplitView;
    m_sidebar = new Sidebar;
    m_notice = new SaveNotice(SharedSettings::store());
    auto* page = new QWidget;
    m_pageColumn = new QVBoxLayout(page);
    m_pageColumn->setContentsMargins(0, 0, 0, 0);
    m_pageColumn->setSpacing(0);
    m_pageColumn->addWidget(m_notice);
    m_split->addWidget(new SidebarColumn(m_sidebar, m_agent));
    m_split->addWidget(page);
    m_split->widget(0)->lower(); // screen readers read children in their order, which the splitter reverses
    m_split->setStretchFactor(1, 1);
    m_split->setSizes(place.columns);
    layout()->addWidget(m_split);

    m_notice->look();
    showPage(storedPage());
    connect(m_sidebar, &Sidebar::pageSelected, this, &SettingsView::selectPage);
    returnTo(place);
}

SettingsView::Whereabouts SettingsView::whereabouts() const
{
    Whereabouts place;
    if (!m_split)
        return place;
    place.columns = m_split->sizes();
    place.focus = focusTargets(*m_split).indexOf(focusWidget());
    place.scrolled = m_pageWidget->verticalScrollBar()->value();
    return place;
}

void SettingsView::returnTo(const Whereabouts& place)
{
    // Lay out at once: otherwise the scroll range is unknown until the next frame.
    if (isVisible()) {
        m_split->show();
        layout()->activate();
    }
    if (place.focus >= 0 || !focusWidget()) {
        QWidget* focused = focusTargets(*m_split).value(place.focus, m_sidebar);
        focused->setFocus(
            testAttribute(Qt::WA_KeyboardFocusChange) ? Qt::TabFocusReason : Qt::OtherFocusReason);
    }
    m_pageWidget->verticalScrollBar()->setValue(place.scrolled);
}

bool SettingsView::event(QEvent* event)
{
    if (event->type() == QEvent::ThemeChange && Theme::font(Theme::TextStyle::body) != m_font) {
        QApplication::setFont(Theme::font(Theme::TextStyle::body));
        rebuild();
    }
    return QWidget::event(event);
}

void SettingsView::adoptScheme()
{
    setPalette(Theme::palette(SystemAppearance::shared().scheme()));
    update();
}

} // namespace kestrum
