#include "Platform/GlobalDomain.h"

namespace kestrum {

} // namespace kestrum
