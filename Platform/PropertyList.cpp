#include "Platform/PropertyList.h"

namespace kestrum {

} // namespace kestrum
