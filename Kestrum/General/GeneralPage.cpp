#include "Kestrum/General/GeneralPage.h"

#include "Kestrum/Agent/LaunchAtLoginSection.h"

namespace kestrum {

GeneralPage::GeneralPage(QWidget* parent)
    : FormPage(parent)
{
    add(new LaunchAtLoginSection);
}

} // namespace kestrum
