#include "Platform/LoginItemService.h"
