#include "ui/Artwork.h"

#include <shellapi.h>

#include <cwctype>
#include <unordered_map>

#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "ui/controls/Dpi.h"
#include "util/win32/Win32Handle.h"

namespace {

constexpr int kStateImageCount = 6;

struct ImageCache {
  HIMAGELIST list = nullptr;
  UINT dpi = 0;
  std::unordered_map<std::wstring, int> shellIndexByType;
};
ImageCache gImages;

std::wstring TypeKey(const std::wstring& path, bool isFolder) {
  if (isFolder && path.size() <= 3) {
    // Drive roots have icons of their own (fixed disk, removable, ...).
    std::wstring key = L"<root>" + path;
    for (wchar_t& c : key) c = static_cast<wchar_t>(std::towupper(c));
    return key;
  }
  if (isFolder) return L"<folder>";
  size_t slash = path.find_last_of(L"\\/");
  size_t dot = path.find_last_of(L'.');
  if (dot == std::wstring::npos || (slash != std::wstring::npos && dot < slash)) return L"<none>";
  std::wstring key = path.substr(dot);
  for (wchar_t& c : key) c = static_cast<wchar_t>(std::towlower(c));
  return key;
}

}  // namespace

HICON LoadToolbarIcon(int resourceId, UINT dpi) {
  int size = ScaleForDpi(24, dpi);
  return static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resourceId), IMAGE_ICON, size,
                                       size, LR_DEFAULTCOLOR));
}

HICON LoadStateIcon(uint32_t stateImage, UINT dpi) {
  int size = ScaleForDpi(16, dpi);
  return static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr),
                                       MAKEINTRESOURCEW(IDI_STATE_FIRST + static_cast<int>(stateImage)),
                                       IMAGE_ICON, size, size, LR_DEFAULTCOLOR));
}

HIMAGELIST ItemImageList(UINT dpi) {
  if (gImages.list && gImages.dpi == dpi) return gImages.list;
  if (gImages.list) ImageList_Destroy(gImages.list);
  gImages.shellIndexByType.clear();
  gImages.dpi = dpi;
  int size = ScaleForDpi(16, dpi);
  gImages.list = ImageList_Create(size, size, ILC_COLOR32 | ILC_MASK, kStateImageCount + 16, 16);
  for (int i = 0; i < kStateImageCount; ++i) {
    const UniqueIcon icon(LoadStateIcon(static_cast<uint32_t>(i), dpi));
    ImageList_AddIcon(gImages.list, icon.Get());
  }
  return gImages.list;
}

int StateImageIndex(uint32_t stateImage) {
  return stateImage < kStateImageCount ? static_cast<int>(stateImage) : 0;
}

int ShellImageIndex(const std::wstring& path, bool isFolder) {
  if (!gImages.list) return StateImageIndex(0);
  std::wstring key = TypeKey(path, isFolder);
  auto found = gImages.shellIndexByType.find(key);
  if (found != gImages.shellIndexByType.end()) return found->second;
  SHFILEINFOW info{};
  UINT flags = SHGFI_ICON | SHGFI_SMALLICON;
  int index = -1;
  if (key.rfind(L"<ROOT>", 0) == 0) {
    // A drive's own icon needs the drive itself; it is only asked once.
    if (SHGetFileInfoW(path.c_str(), 0, &info, sizeof info, flags) && info.hIcon) {
      const UniqueIcon icon(info.hIcon);
      index = ImageList_AddIcon(gImages.list, icon.Get());
    }
  } else {
    std::wstring sample = key[0] == L'<' ? L"x" : L"x" + key;
    DWORD attributes = isFolder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    if (SHGetFileInfoW(sample.c_str(), attributes, &info, sizeof info, flags | SHGFI_USEFILEATTRIBUTES) &&
        info.hIcon) {
      const UniqueIcon icon(info.hIcon);
      index = ImageList_AddIcon(gImages.list, icon.Get());
    }
  }
  if (index < 0) index = StateImageIndex(0);
  gImages.shellIndexByType.emplace(key, index);
  return index;
}
