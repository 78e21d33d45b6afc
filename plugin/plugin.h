// Umbrella header of the room `plugin`.
#ifndef VT_PLUGIN_PLUGIN_H
#define VT_PLUGIN_PLUGIN_H

#endif
