// Finding windows of the program under test, reading their texts and controls
// across the process boundary, and sending them commands.

#include "TestDriver.h"

#include <shlobj.h>

#include <commctrl.h>

#include <algorithm>
#include <utility>

namespace TestDriver {
namespace {

constexpr UINT kAnswerTimeoutMs = 5000;

bool SendWithTimeout(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                     DWORD_PTR* answer) {
    return SendMessageTimeoutW(window, message, wParam, lParam, SMTO_ABORTIFHUNG,
                               kAnswerTimeoutMs, answer) != 0;
}

DWORD ProcessIdOf(HWND window) {
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    return processId;
}

// A block of memory inside the process that owns a window, so that messages
// whose parameters point to memory (list-view items, status-bar texts) can be
// sent to a window of another process.
class RemoteMemory {
public:
    RemoteMemory(HWND owner, size_t size) : size_(size) {
        process_.reset(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE |
                                       PROCESS_QUERY_INFORMATION,
                                   FALSE, ProcessIdOf(owner)));
        if (process_) {
            address_ = VirtualAllocEx(process_.get(), nullptr, size, MEM_COMMIT | MEM_RESERVE,
                                      PAGE_READWRITE);
        }
    }
    ~RemoteMemory() {
        if (address_) {
            VirtualFreeEx(process_.get(), address_, 0, MEM_RELEASE);
        }
    }
    RemoteMemory(const RemoteMemory&) = delete;
    RemoteMemory& operator=(const RemoteMemory&) = delete;

    bool Valid() const { return address_ != nullptr; }
    // Leaves the block to its process.
    void* Release() { return std::exchange(address_, nullptr); }
    char* At(size_t offset) const { return static_cast<char*>(address_) + offset; }
    bool Write(size_t offset, const void* data, size_t length) const {
        SIZE_T done = 0;
        return offset + length <= size_ &&
               WriteProcessMemory(process_.get(), At(offset), data, length, &done) &&
               done == length;
    }
    bool Read(size_t offset, void* data, size_t length) const {
        SIZE_T done = 0;
        return offset + length <= size_ &&
               ReadProcessMemory(process_.get(), At(offset), data, length, &done) &&
               done == length;
    }
    // Text anywhere in that process, up to its terminating zero.
    std::wstring ReadTextAt(const void* address, size_t maxCount) const {
        std::wstring text;
        wchar_t chunk[256];
        SIZE_T done = 0;
        auto* next = static_cast<const char*>(address);
        while (text.size() < maxCount &&
               ReadProcessMemory(process_.get(), next, chunk, sizeof chunk, &done) &&
               done == sizeof chunk) {
            size_t count = wcsnlen(chunk, 256);
            text.append(chunk, count);
            if (count < 256) {
                return text;
            }
            next += sizeof chunk;
        }
        return text;
    }

private:
    UniqueHandle process_;
    void* address_ = nullptr;
    size_t size_;
};

constexpr size_t kTextCount = 4096;
// Room for the message's record, then the text buffer it points to.
constexpr size_t kRecordRoom = 256;

}  // namespace

void PumpMessages(DWORD forMs) {
    DWORD start = GetTickCount();
    do {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        if (forMs > 0) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
        }
    } while (GetTickCount() - start < forMs);
}

HWND FindTopWindow(const WindowQuery& query) {
    for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, nullptr, nullptr));) {
        if (window == query.except || (query.visibleOnly && !IsWindowVisible(window))) continue;
        if (query.processId != 0 && ProcessIdOf(window) != query.processId) continue;
        if (query.className && WindowClass(window) != query.className) continue;
        // A top-level caption is kept by the system: no message to the owner needed.
        wchar_t title[512] = {};
        if (query.title && (GetWindowTextW(window, title, 512), wcscmp(title, query.title) != 0)) continue;
        return window;
    }
    return nullptr;
}

HWND WaitForWindow(const WindowQuery& query, DWORD timeoutMs) {
    HWND window = FindTopWindow(query);
    for (DWORD start = GetTickCount(); !window && GetTickCount() - start < timeoutMs; window = FindTopWindow(query)) {
        PumpMessages(50);
    }
    return window;
}

std::wstring WindowText(HWND window) {
    DWORD_PTR count = 0;
    if (!SendWithTimeout(window, WM_GETTEXTLENGTH, 0, 0, &count)) {
        return {};
    }
    std::wstring text(count + 1, L'\0');
    DWORD_PTR copied = 0;
    if (!SendWithTimeout(window, WM_GETTEXT, count + 1, reinterpret_cast<LPARAM>(text.data()),
                         &copied)) {
        return {};
    }
    text.resize(copied);
    return text;
}

std::wstring WindowClass(HWND window) {
    wchar_t name[256] = {};
    GetClassNameW(window, name, 256);
    return name;
}

std::vector<HWND> ChildWindows(HWND parent, const wchar_t* className) {
    std::vector<HWND> all;
    EnumChildWindows(
        parent,
        [](HWND window, LPARAM found) {
            reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&all));
    std::vector<HWND> found;
    for (HWND window : all) {
        if (!className || WindowClass(window) == className) found.push_back(window);
    }
    return found;
}

std::vector<std::wstring> ChildTexts(HWND parent) {
    std::vector<std::wstring> texts;
    for (HWND child : ChildWindows(parent)) {
        texts.push_back(WindowText(child));
    }
    return texts;
}

bool PressButton(HWND dialog, int controlId) {
    HWND button = GetDlgItem(dialog, controlId);
    return PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(controlId, BN_CLICKED),
                        reinterpret_cast<LPARAM>(button)) != 0;
}

bool SendCommand(HWND window, int commandId) {
    return PostMessageW(window, WM_COMMAND, MAKEWPARAM(commandId, 0), 0) != 0;
}

int ListViewRowCount(HWND listView) {
    DWORD_PTR count = 0;
    if (!SendWithTimeout(listView, LVM_GETITEMCOUNT, 0, 0, &count)) {
        return -1;
    }
    return static_cast<int>(count);
}

namespace {

// Sends `message` with a record whose text buffer lies in the window's
// process, and reads the text the record then points to: a list may answer
// with a pointer to its own copy instead of filling the buffer.
template <typename Record>
std::wstring RemoteRecordText(HWND window, UINT message, WPARAM wParam, Record record) {
    RemoteMemory memory(window, kRecordRoom + kTextCount * sizeof(wchar_t));
    if (!memory.Valid()) return {};
    record.pszText = reinterpret_cast<wchar_t*>(memory.At(kRecordRoom));
    record.cchTextMax = kTextCount;
    DWORD_PTR answer = 0;
    if (!memory.Write(0, &record, sizeof record) ||
        !SendWithTimeout(window, message, wParam, reinterpret_cast<LPARAM>(memory.At(0)), &answer) ||
        !memory.Read(0, &record, sizeof record) || record.pszText == nullptr) {
        return {};
    }
    return memory.ReadTextAt(record.pszText, kTextCount);
}

}  // namespace

std::wstring ListViewCellText(HWND listView, int row, int column) {
    LVITEMW item{};
    item.iSubItem = column;
    return RemoteRecordText(listView, LVM_GETITEMTEXTW, row, item);
}

std::wstring ListViewColumnHeader(HWND listView, int column) {
    LVCOLUMNW record{};
    record.mask = LVCF_TEXT;
    return RemoteRecordText(listView, LVM_GETCOLUMNW, column, record);
}

int ListViewColumnWidth(HWND listView, int column) {
    DWORD_PTR width = 0;
    return SendWithTimeout(listView, LVM_GETCOLUMNWIDTH, column, 0, &width) ? static_cast<int>(width)
                                                                           : -1;
}

namespace {

HWND HeaderOf(HWND listView) {
    DWORD_PTR answer = 0;
    return SendWithTimeout(listView, LVM_GETHEADER, 0, 0, &answer) ? reinterpret_cast<HWND>(answer)
                                                                  : nullptr;
}

// Sends a message about one column to the list's header with `record` copied
// into the list's process, and reads the record back once answered.
bool AskHeader(HWND listView, UINT message, int column, void* record, size_t size) {
    HWND header = HeaderOf(listView);
    RemoteMemory memory(listView, size);
    DWORD_PTR ok = 0;
    return header && memory.Valid() && memory.Write(0, record, size) &&
           SendWithTimeout(header, message, column, reinterpret_cast<LPARAM>(memory.At(0)), &ok) && ok &&
           memory.Read(0, record, size);
}

}  // namespace

int ListViewSortArrow(HWND listView, int column) {
    HDITEMW item{};
    item.mask = HDI_FORMAT;
    if (!AskHeader(listView, HDM_GETITEMW, column, &item, sizeof item)) return 0;
    return (item.fmt & HDF_SORTUP) ? 1 : (item.fmt & HDF_SORTDOWN) ? -1 : 0;
}

bool ClickListViewHeader(HWND listView, int column) {
    RECT bounds{};
    if (!AskHeader(listView, HDM_GETITEMRECT, column, &bounds, sizeof bounds)) return false;
    HWND header = HeaderOf(listView);
    RECT client{};
    GetClientRect(header, &client);
    const LONG right = bounds.right < client.right ? bounds.right : client.right;
    LPARAM point = MAKELPARAM((bounds.left + right) / 2, (bounds.top + bounds.bottom) / 2);
    DWORD_PTR ignored = 0;
    SendWithTimeout(header, WM_MOUSEMOVE, 0, point, &ignored);
    SendWithTimeout(header, WM_LBUTTONDOWN, MK_LBUTTON, point, &ignored);
    return SendWithTimeout(header, WM_LBUTTONUP, 0, point, &ignored);
}

int ListViewRowState(HWND listView, int row, UINT mask) {
    DWORD_PTR state = 0;
    if (!SendWithTimeout(listView, LVM_GETITEMSTATE, static_cast<WPARAM>(row), mask, &state)) return -1;
    return static_cast<int>(state);
}

bool SelectListViewRows(HWND listView, const std::vector<int>& rows) {
    RemoteMemory memory(listView, sizeof(LVITEMW));
    LVITEMW item{};
    item.stateMask = LVIS_SELECTED;
    DWORD_PTR ok = 0;
    // Row -1 first: every row unselected.
    std::vector<int> steps{-1};
    steps.insert(steps.end(), rows.begin(), rows.end());
    for (int row : steps) {
        item.state = row < 0 ? 0 : LVIS_SELECTED;
        if (!memory.Valid() || !memory.Write(0, &item, sizeof item) ||
            !SendWithTimeout(listView, LVM_SETITEMSTATE, static_cast<WPARAM>(row),
                             reinterpret_cast<LPARAM>(memory.At(0)), &ok)) {
            return false;
        }
    }
    return true;
}

std::vector<std::wstring> ListViewColumnTexts(HWND listView, int column) {
    std::vector<std::wstring> texts;
    int count = ListViewRowCount(listView);
    for (int row = 0; row < count; ++row) {
        texts.push_back(ListViewCellText(listView, row, column));
    }
    return texts;
}

int MenuItemEnabled(HWND window, int commandId) {
    DWORD_PTR result = 0;
    if (!SendWithTimeout(window, RegisterWindowMessageW(L"Ordalis.MenuItemState"), commandId, 0, &result)) return -1;
    return static_cast<int>(static_cast<LRESULT>(result));
}

bool SetControlText(HWND control, const std::wstring& text) {
    DWORD_PTR result = 0;
    return SendWithTimeout(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()), &result);
}

bool DropFiles(HWND window, const std::vector<std::wstring>& paths) {
    // DROPFILES, then the paths one after another, each ended by a zero, and
    // one more zero at the end.
    std::vector<BYTE> block(sizeof(DROPFILES));
    auto* header = reinterpret_cast<DROPFILES*>(block.data());
    header->pFiles = sizeof(DROPFILES);
    header->fWide = TRUE;
    for (const std::wstring& path : paths) {
        const BYTE* bytes = reinterpret_cast<const BYTE*>(path.c_str());
        block.insert(block.end(), bytes, bytes + (path.size() + 1) * sizeof(wchar_t));
    }
    block.insert(block.end(), sizeof(wchar_t), 0);
    // Memory of the window's process that is not a movable handle, left to it:
    // the global-memory calls take such a block as they take a fixed one.
    RemoteMemory memory(window, block.size());
    return memory.Write(0, block.data(), block.size()) &&
           PostMessageW(window, WM_DROPFILES, reinterpret_cast<WPARAM>(memory.Release()), 0);
}

std::vector<DialogButton> DialogButtons(HWND dialog) {
    std::vector<std::pair<LONG, DialogButton>> found;
    for (HWND child : ChildWindows(dialog, L"Button")) {
        RECT bounds{};
        GetWindowRect(child, &bounds);
        found.push_back({bounds.left, {WindowText(child), GetDlgCtrlID(child)}});
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<DialogButton> buttons;
    for (auto& entry : found) buttons.push_back(entry.second);
    return buttons;
}

std::wstring MessageBoxMessage(HWND dialog) {
    std::wstring message;
    for (HWND child : ChildWindows(dialog)) {
        std::wstring name = WindowClass(child);
        if (_wcsicmp(name.c_str(), L"Button") == 0) continue;
        std::wstring text = WindowText(child);
        if (text.empty()) continue;
        if (!message.empty()) message += L"\n";
        message += text;
    }
    return message;
}

bool PressKey(HWND window, UINT virtualKey) {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    HWND target = window;
    if (GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info) && info.hwndFocus) {
        target = info.hwndFocus;
    }
    UINT scan = MapVirtualKeyW(virtualKey, MAPVK_VK_TO_VSC);
    return PostMessageW(target, WM_KEYDOWN, virtualKey, 1 | (scan << 16)) &&
           PostMessageW(target, WM_KEYUP, virtualKey, 1 | (scan << 16) | 0xC0000000u);
}

bool ClickAt(HWND window, POINT client) {
    LPARAM point = MAKELPARAM(client.x, client.y);
    return PostMessageW(window, WM_MOUSEMOVE, 0, point) &&
           PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, point) &&
           PostMessageW(window, WM_LBUTTONUP, 0, point);
}

}  // namespace TestDriver
