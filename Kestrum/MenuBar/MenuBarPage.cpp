#include "Kestrum/MenuBar/MenuBarPage.h"
