#include "Platform/Bundle.h"

namespace kestrum {

} // namespace kestrum
