#include "Kestrum/Agent/UpdateOfferRow.h"

namespace kestrum {

UpdateOfferRow::UpdateOfferRow(QWidget* parent)
    : QWidget(parent)
{
}

} // namespace kestrum
