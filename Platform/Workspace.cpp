#include "Platform/Workspace.h"

namespace kestrum {

struct Workspace::Observations { };

Workspace::~Workspace() = default;

} // namespace kestrum
