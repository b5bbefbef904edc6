#include "Platform/KernelValues.h"

namespace kestrum {

} // namespace kestrum
