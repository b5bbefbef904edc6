#include "Platform/RuntimeDirectory.h"

namespace kestrum {

} // namespace kestrum
