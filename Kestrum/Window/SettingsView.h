#pragma once

#include "Kestrum/Agent/AgentController.h"
#include "Kestrum/Window/SettingsPage.h"

#include <QWidget>
#include <functional>

class QVBoxLayout;

namespace kestrum {

class SaveNotice;
class Sidebar;
class SplitView;

/// The settings window's content: the sidebar of pages and beside it the page selected. The page is
/// remembered in the shared settings and followed there, so the window opens where it was left. When the
/// interface language is chosen anew, or the desktop's font is another one, all content is built again, on the same page, scrolled as
/// it was and with the keyboard at the same control.
class SettingsView final : public QWidget {
    Q_OBJECT
public:
    explicit SettingsView(QWidget* parent = nullptr);

    /// The page stored; the key's default where the stored text names no page.
    static SettingsPage storedPage();

    SettingsPage page() const;
    /// Shows `page` and stores it.
    void selectPage(SettingsPage page);
    /// Shows `page` until another one is stored.
    void showPage(SettingsPage page);

    /// The page shown, owned by this view; it goes when another page is selected.
    FormPage* pageWidget() const { return m_pageWidget; }
    /// As high as the window has to be to show the whole of the page, at its present width.
    int pageHeight() const;

protected:
    bool event(QEvent* event) override;

private:
    void rebuild();
    /// Where people are in the content: what rebuilding it is not to change.
    struct Whereabouts;
    Whereabouts whereabouts() const;
    void returnTo(const Whereabouts& place);
    void adoptFont();
    void adoptScheme();
    void addShortcut(const QKeySequence& keys, const std::function<void()>& action);

    AgentController m_agent { this }; ///< the same whenever the content is built again
    SplitView* m_split = nullptr;
    Sidebar* m_sidebar = nullptr;
    SaveNotice* m_notice = nullptr;
    QVBoxLayout* m_pageColumn = nullptr;
    FormPage* m_pageWidget = nullptr;
    QFont m_font;                ///< that the content was built with
    SettingsPage m_shownPage {}; ///< of `m_pageWidget`, while there is one
};

} // namespace kestrum
