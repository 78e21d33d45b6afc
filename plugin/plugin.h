// Umbrella header of the room `plugin`: what the browser sees.
#ifndef VT_PLUGIN_PLUGIN_H
#define VT_PLUGIN_PLUGIN_H

#include "plugin/entry.h"
#include "plugin/instance.h"
#include "plugin/npapi.h"
#include "plugin/scriptable.h"

#endif
