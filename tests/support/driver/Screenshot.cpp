// Screenshots of what a test drives: the window's screen area copied with
// BitBlt and saved as PNG through GDI+.

#include "TestDriver.h"

#include <objidl.h>  // GDI+ needs it, and WIN32_LEAN_AND_MEAN leaves it out
#include <gdiplus.h>

#include <filesystem>

namespace TestDriver {

std::wstring SaveWindowScreenshot(HWND window, const std::wstring& name) {
    const std::wstring folder = HostPathToWindows(ORDALIS_SCREENSHOT_DIR);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    RECT bounds{};
    if (!GetWindowRect(window, &bounds) || bounds.right <= bounds.left || bounds.bottom <= bounds.top) return {};
    const int width = bounds.right - bounds.left;
    const int height = bounds.bottom - bounds.top;

    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    HGDIOBJ previous = SelectObject(memory, bitmap);
    const bool copied = BitBlt(memory, 0, 0, width, height, screen, bounds.left, bounds.top, SRCCOPY | CAPTUREBLT);
    SelectObject(memory, previous);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);

    Gdiplus::GdiplusStartupInput input;
    ULONG_PTR token = 0;
    bool saved = false;
    const std::wstring path = folder + L"\\" + name + L".png";
    if (copied && Gdiplus::GdiplusStartup(&token, &input, nullptr) == Gdiplus::Ok) {
        // The system's PNG encoder.
        const CLSID pngEncoder = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
        {
            Gdiplus::Bitmap image(bitmap, nullptr);
            saved = image.GetLastStatus() == Gdiplus::Ok && image.Save(path.c_str(), &pngEncoder, nullptr) == Gdiplus::Ok;
        }
        Gdiplus::GdiplusShutdown(token);
    }
    DeleteObject(bitmap);
    return saved ? path : std::wstring{};
}

}  // namespace TestDriver
