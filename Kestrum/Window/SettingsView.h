// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Agent/AgentController.h"
#include "Kestrum/Window/SettingsPage.h"

#include <QWidget>

class QVBoxLayout;

namespace kestrum {

class SaveNotice;
class Sidebar;
class SplitView;

/// The settings window's content: the sidebar and beside it the selected page. The page is stored in the shared settings, so the
/// window opens on the last page, and follows changes there. When the interface language or the desktop's font changes, the
/// content is rebuilt: page, scroll position and focus stay.
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

    /// The shown page, owned by this view; deleted when another page is selected.
    FormPage* pageWidget() const { return m_pageWidget; }
    /// The window height that shows the whole page at its present width.
    int pageHeight() const;

protected:
    bool event(QEvent* event) override;

private:
    void rebuild();
    /// The state of the content that survives a rebuild.
    struct Whereabouts;
    Whereabouts whereabouts() const;
    void returnTo(const Whereabouts& place);
    void adoptFont();
    void adoptScheme();

    AgentController m_agent { this }; ///< stays when the content is rebuilt
    SplitView* m_split = nullptr;
    Sidebar* m_sidebar = nullptr;
    SaveNotice* m_notice = nullptr;
    QVBoxLayout* m_pageColumn = nullptr;
    FormPage* m_pageWidget = nullptr;
    QFont m_font;                ///< the content was built with it
    SettingsPage m_shownPage {}; ///< of `m_pageWidget`, while there is one
};

} // namespace kestrum
