#include "Platform/DirectoryWatch.h"

namespace kestrum {

} // namespace kestrum
