#include "tests/host/window.h"

#include <windows.h>

#include <fstream>
#include <stdexcept>
#include <vector>

namespace host {
namespace {

HWND handleOf(const NPWindow& window) {
    return static_cast<HWND>(window.window);
}

void handleMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != 0)
        DispatchMessageA(&message);
}

// A picture of 32 bits a pixel, topmost row first.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<DWORD> pixels;

    bool isDark(int x, int y) const {
        const DWORD pixel = pixels[static_cast<std::size_t>(y * width + x)];
        return (pixel & 0xFF) + (pixel >> 8 & 0xFF) + (pixel >> 16 & 0xFF) < 200;
    }
    bool isEdge(int x, int y) const { return x == 0 || y == 0 || x == width - 1 || y == height - 1; }
};

BITMAPINFOHEADER headerOf(const Picture& picture) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = picture.width;
    header.biHeight = -picture.height;
    header.biPlanes = 1;
    header.biBitCount = 32;
    header.biCompression = BI_RGB;
    return header;
}

Picture take(HWND window) {
    RECT client = {};
    GetClientRect(window, &client);
    Picture picture;
    picture.width = client.right;
    picture.height = client.bottom;
    picture.pixels.resize(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height));

    HDC const screen = GetDC(window);
    HDC const memory = CreateCompatibleDC(screen);
    HBITMAP const bitmap = CreateCompatibleBitmap(screen, picture.width, picture.height);
    HGDIOBJ const before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, picture.width, picture.height, screen, 0, 0, SRCCOPY);
    SelectObject(memory, before);
    BITMAPINFO info = {};
    info.bmiHeader = headerOf(picture);
    GetDIBits(memory, bitmap, 0, static_cast<UINT>(picture.height), picture.pixels.data(), &info, DIB_RGB_COLORS);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(window, screen);
    return picture;
}

void save(const Picture& picture, const std::string& path) {
    const BITMAPINFOHEADER header = headerOf(picture);
    BITMAPFILEHEADER file = {};
    file.bfType = 0x4D42;
    file.bfOffBits = sizeof(file) + sizeof(header);
    file.bfSize = file.bfOffBits + static_cast<DWORD>(picture.pixels.size() * sizeof(DWORD));
    std::ofstream stream(path, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(&file), sizeof(file));
    stream.write(reinterpret_cast<const char*>(&header), sizeof(header));
    stream.write(reinterpret_cast<const char*>(picture.pixels.data()),
                 static_cast<std::streamsize>(picture.pixels.size() * sizeof(DWORD)));
    if (!stream)
        throw std::runtime_error("cannot write " + path);
}

std::string describe(const Picture& picture) {
    bool framed = true;
    int ink = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const bool dark = picture.isDark(x, y);
            if (picture.isEdge(x, y))
                framed = framed && dark;
            else
                ink += dark ? 1 : 0;
        }
    }
    return "{\"width\":" + std::to_string(picture.width) + ",\"height\":" + std::to_string(picture.height) +
           ",\"framed\":" + (framed ? "true" : "false") + ",\"ink\":" + std::to_string(ink) + "}";
}

}  // namespace

Window::Window(int width, int height) {
    WNDCLASSA kind = {};
    kind.lpfnWndProc = DefWindowProcA;
    kind.hInstance = GetModuleHandleA(nullptr);
    kind.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    kind.lpszClassName = "vt_host";
    RegisterClassA(&kind);
    window_.window = CreateWindowA(kind.lpszClassName, "vt_host", WS_POPUP, 0, 0, width, height, nullptr, nullptr,
                                   kind.hInstance, nullptr);
    if (window_.window == nullptr)
        throw std::runtime_error("no window can be made: " + std::to_string(GetLastError()));
    window_.width = static_cast<std::uint32_t>(width);
    window_.height = static_cast<std::uint32_t>(height);
    window_.type = NPWindowTypeWindow;
}

Window::~Window() {
    DestroyWindow(handleOf(window_));
}

void Window::show(const NPPluginFuncs& plugin, NPP instance) {
    if (plugin.setwindow(instance, &window_) != NPERR_NO_ERROR)
        throw std::runtime_error("NPP_SetWindow fails");
    ShowWindow(handleOf(window_), SW_SHOW);
    UpdateWindow(handleOf(window_));
    handleMessages();
}

std::string Window::snapshot(const std::string& path) {
    InvalidateRect(handleOf(window_), nullptr, TRUE);
    UpdateWindow(handleOf(window_));
    handleMessages();
    const Picture picture = take(handleOf(window_));
    save(picture, path);
    return describe(picture);
}

}  // namespace host
