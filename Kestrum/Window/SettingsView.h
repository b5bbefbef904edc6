// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Agent/AgentController.h"
#include "Kestrum/Window/SettingsPage.h"

#include <QWidget>

class QSplitter;
class QVBoxLayout;

namespace kestrum {

class SaveNotice;
class Sidebar;

/// The settings window's content: the sidebar and beside it the selected page. The page is stored in the shared settings: the
/// window opens on the last page, and follows changes of the stored page. When the interface language or the desktop's font
/// changes, the content is rebuilt, and page, scroll position and focus stay the same.
class SettingsView final : public QWidget {
    Q_OBJECT
public:
    explicit SettingsView(QWidget* parent = nullptr);

    /// The stored page; the key's default if the stored text names no page.
    static SettingsPage storedPage();

    SettingsPage page() const;
    /// Shows `page` and stores it.
    void selectPage(SettingsPage page);
    /// Shows `page` until another one is stored.
    void showPage(SettingsPage page);

    /// The shown page, owned by this view; deleted when another page is selected.
    FormPage* pageWidget() const { return m_pageWidget; }
    /// The window height that shows the whole page at its present width.
    int pageHeight() const;

protected:
    bool event(QEvent* event) override;

private:
    void rebuild();
    /// Column widths, scroll position and focus, which survive a rebuild.
    struct Whereabouts;
    Whereabouts whereabouts() const;
    void returnTo(const Whereabouts& place);
    void adoptScheme();

    AgentController m_agent { this }; ///< stays when the content is rebuilt
    QSplitter* m_split = nullptr;
    Sidebar* m_sidebar = nullptr;
    SaveNotice* m_notice = nullptr;
    QVBoxLayout* m_pageColumn = nullptr;
    FormPage* m_pageWidget = nullptr;
    QFont m_font;                ///< the font with which the content was built
    SettingsPage m_shownPage {}; ///< the page of `m_pageWidget`, if that exists
};

} // namespace kestrum
