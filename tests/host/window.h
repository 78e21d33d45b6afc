// A real window for the plug-in to paint in. Built on Windows only: elsewhere the plug-in paints nothing.
#ifndef VT_TESTS_HOST_WINDOW_H
#define VT_TESTS_HOST_WINDOW_H

#include <string>

#include "plugin/npapi.h"

namespace host {

class Window {
  public:
    // Throws std::runtime_error when no window can be made, as without a display.
    Window(int width, int height);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    // show gives the window to the instance by NPP_SetWindow and lets it paint.
    void show(const NPPluginFuncs& plugin, NPP instance);

    // snapshot saves the window's content as a 24-bit bitmap, and tells in JSON its size, whether its outermost pixels
    // are all black, and how many dark pixels lie inside: {"width":320,"height":120,"framed":true,"ink":412}.
    std::string snapshot(const std::string& path);

  private:
    NPWindow window_ = {};
};

}  // namespace host

#endif
