#include "platform/posix/entries.h"

namespace platform::posix {

LONG_PTR SetWindowLongA(HWND /*window*/, int /*index*/, LONG_PTR /*value*/) {
    return 0;
}
LONG_PTR GetWindowLongA(HWND /*window*/, int /*index*/) {
    return 0;
}
HDC BeginPaint(HWND /*window*/, PAINTSTRUCT* /*paint*/) {
    return nullptr;
}
BOOL EndPaint(HWND /*window*/, const PAINTSTRUCT* /*paint*/) {
    return FALSE;
}
BOOL GetClientRect(HWND /*window*/, RECT* /*rect*/) {
    return FALSE;
}
int FrameRect(HDC /*dc*/, const RECT* /*rect*/, HBRUSH /*brush*/) {
    return 0;
}
HGDIOBJ GetStockObject(int /*object*/) {
    return nullptr;
}
int DrawTextA(HDC /*dc*/, LPCSTR /*text*/, int /*length*/, RECT* /*rect*/, UINT /*format*/) {
    return 0;
}
LRESULT DefWindowProcA(HWND /*window*/, UINT /*message*/, WPARAM /*wParam*/, LPARAM /*lParam*/) {
    return 0;
}

}  // namespace platform::posix
