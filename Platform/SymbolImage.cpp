#include "Platform/SymbolImage.h"

namespace kestrum {

} // namespace kestrum
