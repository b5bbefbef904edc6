#include "Kestrum/General/GeneralPage.h"

namespace kestrum {

GeneralPage::GeneralPage(QWidget* parent)
    : FormPage(parent)
{
}

} // namespace kestrum
