#include "Platform/GenerationCounter.h"

namespace kestrum {

} // namespace kestrum
