#include "Platform/FileName.h"

namespace kestrum {

} // namespace kestrum
