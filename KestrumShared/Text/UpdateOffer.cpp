#include "KestrumShared/Text/UpdateOffer.h"

namespace kestrum {

} // namespace kestrum
