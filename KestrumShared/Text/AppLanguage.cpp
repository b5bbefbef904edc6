#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

} // namespace kestrum
