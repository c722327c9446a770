// Screenshots of what a test drives: the screen copied with BitBlt into a
// 24-bit bitmap and saved as PNG through GDI+.

#include "TestDriver.h"

#include <objidl.h>  // GDI+ needs it, and WIN32_LEAN_AND_MEAN leaves it out
#include <gdiplus.h>

#include <filesystem>

namespace TestDriver {
namespace {

bool SavePng(HBITMAP bitmap, const std::wstring& path) {
    Gdiplus::GdiplusStartupInput input;
    ULONG_PTR token = 0;
    if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok) {
        return false;
    }
    // The system's PNG encoder.
    const CLSID pngEncoder = {0x557cf406, 0x1a04, 0x11d3,
                              {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
    bool saved = false;
    {
        Gdiplus::Bitmap image(bitmap, nullptr);
        saved = image.GetLastStatus() == Gdiplus::Ok &&
                image.Save(path.c_str(), &pngEncoder, nullptr) == Gdiplus::Ok;
    }
    Gdiplus::GdiplusShutdown(token);
    return saved;
}

std::wstring SaveScreenArea(int left, int top, int width, int height, const std::wstring& name) {
    std::wstring folder = HostPathToWindows(ORDALIS_SCREENSHOT_DIR);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (width <= 0 || height <= 0) {
        return {};
    }

    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;  // rows bottom-up
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biCompression = BI_RGB;
    header.biSizeImage = ((width * 3 + 3) & ~3) * height;

    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    void* bits = nullptr;
    HBITMAP bitmap =
        CreateDIBSection(screen, reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS, &bits, nullptr, 0);
    bool copied = false;
    if (bitmap) {
        HGDIOBJ previous = SelectObject(memory, bitmap);
        copied = BitBlt(memory, 0, 0, width, height, screen, left, top, SRCCOPY | CAPTUREBLT);
        SelectObject(memory, previous);
    }
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    GdiFlush();
    const std::wstring path = folder + L"\\" + name + L".png";
    const bool saved = copied && SavePng(bitmap, path);
    if (bitmap) DeleteObject(bitmap);
    return saved ? path : std::wstring{};
}

}  // namespace

std::wstring SaveScreenshot(const std::wstring& name) {
    return SaveScreenArea(GetSystemMetrics(SM_XVIRTUALSCREEN), GetSystemMetrics(SM_YVIRTUALSCREEN),
                          GetSystemMetrics(SM_CXVIRTUALSCREEN), GetSystemMetrics(SM_CYVIRTUALSCREEN),
                          name);
}

std::wstring SaveWindowScreenshot(HWND window, const std::wstring& name) {
    RECT bounds{};
    if (!GetWindowRect(window, &bounds)) {
        return {};
    }
    return SaveScreenArea(bounds.left, bounds.top, bounds.right - bounds.left,
                          bounds.bottom - bounds.top, name);
}

}  // namespace TestDriver
