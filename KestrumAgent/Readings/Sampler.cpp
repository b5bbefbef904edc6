#include "KestrumAgent/Readings/Sampler.h"
