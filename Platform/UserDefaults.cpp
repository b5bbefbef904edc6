#include "Platform/UserDefaults.h"

namespace kestrum {

} // namespace kestrum
