#include "Kestrum/Agent/AgentRow.h"

namespace kestrum {

AgentRow::AgentRow(AgentController&, QWidget* parent)
    : QWidget(parent)
{
}

} // namespace kestrum
