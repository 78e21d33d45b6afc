// Umbrella header of the room `platform`: the only room that knows which operating system it is on.
#ifndef VT_PLATFORM_PLATFORM_H
#define VT_PLATFORM_PLATFORM_H

#include "platform/crypto_api.h"
#include "platform/firefox_api.h"
#include "platform/system_api.h"
#include "platform/types.h"

#endif
