#include "Kestrum/MenuBar/MenuBarPage.h"

#include "Kestrum/MenuBar/MenuBarPreview.h"

namespace kestrum {

MenuBarPage::MenuBarPage(QWidget* parent)
    : FormPage(parent)
    , m_preview(new MenuBarPreview)
{
    auto* section = new Card(Card::Ground::none);
    section->add(m_preview);
    add(section);
}

} // namespace kestrum
