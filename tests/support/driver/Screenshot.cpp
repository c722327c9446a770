// Screenshots of what a test drives: the whole screen copied with BitBlt into a
// 24-bit bitmap and saved as PNG through GDI+, or as BMP when GDI+ cannot.

#include "TestDriver.h"

#include <objidl.h>  // GDI+ needs it, and WIN32_LEAN_AND_MEAN leaves it out
#include <gdiplus.h>

#include <filesystem>

namespace TestDriver {
namespace {

// Owns a GDI object.
class GdiObject {
public:
    explicit GdiObject(HGDIOBJ object) : object_(object) {}
    ~GdiObject() {
        if (object_) DeleteObject(object_);
    }
    GdiObject(const GdiObject&) = delete;
    GdiObject& operator=(const GdiObject&) = delete;
    HGDIOBJ Get() const { return object_; }

private:
    HGDIOBJ object_;
};

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

bool SaveBmp(const BITMAPINFOHEADER& header, const void* bits, const std::wstring& path) {
    UniqueHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.Valid()) {
        return false;
    }
    BITMAPFILEHEADER fileHeader{};
    fileHeader.bfType = 0x4D42;  // "BM"
    fileHeader.bfOffBits = sizeof fileHeader + sizeof header;
    fileHeader.bfSize = fileHeader.bfOffBits + header.biSizeImage;
    DWORD written = 0;
    return WriteFile(file.Get(), &fileHeader, sizeof fileHeader, &written, nullptr) &&
           WriteFile(file.Get(), &header, sizeof header, &written, nullptr) &&
           WriteFile(file.Get(), bits, header.biSizeImage, &written, nullptr) &&
           written == header.biSizeImage;
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
    header.biHeight = height;  // bottom-up, as a BMP file stores its rows
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biCompression = BI_RGB;
    header.biSizeImage = ((width * 3 + 3) & ~3) * height;

    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    void* bits = nullptr;
    GdiObject bitmap(CreateDIBSection(screen, reinterpret_cast<BITMAPINFO*>(&header),
                                      DIB_RGB_COLORS, &bits, nullptr, 0));
    bool copied = false;
    if (bitmap.Get()) {
        HGDIOBJ previous = SelectObject(memory, bitmap.Get());
        copied = BitBlt(memory, 0, 0, width, height, screen, left, top, SRCCOPY | CAPTUREBLT);
        SelectObject(memory, previous);
    }
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    if (!copied) {
        return {};
    }
    GdiFlush();

    std::wstring path = folder + L"\\" + name + L".png";
    if (SavePng(static_cast<HBITMAP>(bitmap.Get()), path)) {
        return path;
    }
    path = folder + L"\\" + name + L".bmp";
    return SaveBmp(header, bits, path) ? path : std::wstring{};
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
