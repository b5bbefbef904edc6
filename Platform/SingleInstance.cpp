#include "Platform/SingleInstance.h"

namespace kestrum {

SingleInstance::~SingleInstance() = default;

} // namespace kestrum
