#include "Platform/Log.h"

namespace kestrum {

} // namespace kestrum
