#include "KestrumAgent/Readings/LiveReadings.h"
