// Umbrella header of the room `enrol`: the work behind the script methods, their shared state and codes.
#ifndef VT_ENROL_ENROL_H
#define VT_ENROL_ENROL_H

#include "enrol/base64.h"
#include "enrol/codes.h"
#include "enrol/container.h"
#include "enrol/firefox.h"
#include "enrol/heap_text.h"
#include "enrol/install.h"
#include "enrol/providers.h"
#include "enrol/request.h"
#include "enrol/state.h"
#include "enrol/store.h"

#endif
