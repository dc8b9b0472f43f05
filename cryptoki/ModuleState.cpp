#include "cryptoki/ModuleState.h"

unsigned char bCryptokiInitialized = 0;
