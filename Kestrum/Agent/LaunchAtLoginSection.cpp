#include "Kestrum/Agent/LaunchAtLoginSection.h"

namespace kestrum {

LaunchAtLoginSection::LaunchAtLoginSection(QWidget* parent)
    : QWidget(parent)
{
}

} // namespace kestrum
