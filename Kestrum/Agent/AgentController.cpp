#include "Kestrum/Agent/AgentController.h"

namespace kestrum {

AgentController::AgentController(QObject* parent)
    : QObject(parent)
{
}

} // namespace kestrum
