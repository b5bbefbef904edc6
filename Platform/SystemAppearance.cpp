#include "Platform/SystemAppearance.h"

namespace kestrum {

} // namespace kestrum
