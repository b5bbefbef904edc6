#include "Platform/ProcessTable.h"
