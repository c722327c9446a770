#pragma once
// Small owners of what the system hands out and wants back exactly once:
// kernel handles, find handles, GDI objects, device contexts, the object a
// device context had selected, and COM interfaces. None can be copied; each
// can be moved, reset and detached. For kernel handles "no handle" is both
// NULL and INVALID_HANDLE_VALUE.
#ifdef _WIN32
#include <windows.h>
#include <unknwn.h>

#include <utility>

// The owner's shape; `Traits` says what "none" is and how a value is given
// back.
template <typename Traits>
class UniqueResource {
 public:
  using Value = typename Traits::Value;
  UniqueResource() = default;
  explicit UniqueResource(Value value) : value_(value) {}
  UniqueResource(const UniqueResource&) = delete;
  UniqueResource& operator=(const UniqueResource&) = delete;
  UniqueResource(UniqueResource&& other) noexcept : value_(other.Detach()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    if (this != &other) Reset(other.Detach());
    return *this;
  }
  ~UniqueResource() { Reset(); }

  Value Get() const { return value_; }
  bool Valid() const { return Traits::Valid(value_); }
  explicit operator bool() const { return Valid(); }
  Value Detach() { return std::exchange(value_, Traits::None()); }
  void Reset(Value value = Traits::None()) {
    if (Valid()) Traits::Release(value_);
    value_ = value;
  }

 private:
  Value value_ = Traits::None();
};

struct KernelHandleTraits {
  using Value = HANDLE;
  static Value None() { return INVALID_HANDLE_VALUE; }
  static bool Valid(Value value) { return value != nullptr && value != INVALID_HANDLE_VALUE; }
  static void Release(Value value) { CloseHandle(value); }
};
using UniqueHandle = UniqueResource<KernelHandleTraits>;

struct FindHandleTraits {
  using Value = HANDLE;
  static Value None() { return INVALID_HANDLE_VALUE; }
  static bool Valid(Value value) { return value != nullptr && value != INVALID_HANDLE_VALUE; }
  static void Release(Value value) { FindClose(value); }
};
using UniqueFindHandle = UniqueResource<FindHandleTraits>;

template <typename Object>
struct GdiObjectTraits {
  using Value = Object;
  static Value None() { return nullptr; }
  static bool Valid(Value value) { return value != nullptr; }
  static void Release(Value value) { DeleteObject(value); }
};
// A pen, brush, font, bitmap or region the program created.
template <typename Object>
using GdiObject = UniqueResource<GdiObjectTraits<Object>>;

struct IconTraits {
  using Value = HICON;
  static Value None() { return nullptr; }
  static bool Valid(Value value) { return value != nullptr; }
  static void Release(Value value) { DestroyIcon(value); }
};
using UniqueIcon = UniqueResource<IconTraits>;

// A device context made for drawing off the screen (CreateCompatibleDC).
struct MemoryDcTraits {
  using Value = HDC;
  static Value None() { return nullptr; }
  static bool Valid(Value value) { return value != nullptr; }
  static void Release(Value value) { DeleteDC(value); }
};
using MemoryDc = UniqueResource<MemoryDcTraits>;

// A window's device context, given back to the window (GetDC, ReleaseDC).
class WindowDc {
 public:
  explicit WindowDc(HWND window) : window_(window), dc_(GetDC(window)) {}
  WindowDc(const WindowDc&) = delete;
  WindowDc& operator=(const WindowDc&) = delete;
  ~WindowDc() {
    if (dc_) ReleaseDC(window_, dc_);
  }
  HDC Get() const { return dc_; }

 private:
  HWND window_;
  HDC dc_;
};

// An object selected into a device context for the scope's length: the one
// it replaced is selected again at the end, so that the context never
// deletes or keeps what the program owns.
class DcSelection {
 public:
  DcSelection(HDC dc, HGDIOBJ object) : dc_(dc), previous_(dc && object ? SelectObject(dc, object) : nullptr) {}
  DcSelection(const DcSelection&) = delete;
  DcSelection& operator=(const DcSelection&) = delete;
  ~DcSelection() {
    if (previous_) SelectObject(dc_, previous_);
  }

 private:
  HDC dc_;
  HGDIOBJ previous_;
};

// A COM interface pointer, released once. `Out()` hands the address of an
// empty pointer to a function that fills it.
template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    if (this != &other) {
      Reset();
      pointer_ = std::exchange(other.pointer_, nullptr);
    }
    return *this;
  }
  ~ComPtr() { Reset(); }

  Interface* Get() const { return pointer_; }
  Interface* operator->() const { return pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }
  Interface** Out() {
    Reset();
    return &pointer_;
  }
  // Takes over a pointer whose reference the caller was given.
  void Attach(Interface* pointer) {
    Reset();
    pointer_ = pointer;
  }
  void Reset() {
    if (pointer_) std::exchange(pointer_, nullptr)->Release();
  }

 private:
  Interface* pointer_ = nullptr;
};
#endif
