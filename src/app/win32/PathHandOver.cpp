#include "app/win32/PathHandOver.h"

#include "options/HandedPaths.h"
#include "options/RunFlags.h"
#include "app/win32/Startup.h"
#include "options/CommandIds.h"
#include "ui/Commands.h"
#include "ui/dialogs/MessageBox.h"
#include "options/StringIds.h"
#include "util/Text.h"

namespace {

// A running instance that does not answer within this time is hung; the
// second start gives up on it rather than hang as well.
constexpr UINT kHandOverTimeoutMs = 10000;

bool IsOption(const std::wstring& arg) { return !arg.empty() && arg[0] == L'/'; }

// A path relative to the second start's current folder means nothing in the
// running instance, whose folder may differ; full paths pass unchanged.
std::wstring FullInThisFolder(const std::wstring& arg) {
  size_t first = arg.find_first_not_of(L"\" \t");
  if (first == std::wstring::npos) return arg;
  const bool drive = arg.size() >= first + 2 && arg[first + 1] == L':';
  const bool rooted = arg[first] == L'\\';
  if (drive || rooted) return arg;
  std::wstring path = arg.substr(first);
  while (!path.empty() && (path.back() == L'"' || path.back() == L' ')) path.pop_back();
  DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  if (needed == 0) return arg;
  std::wstring full(needed, L'\0');
  DWORD written = GetFullPathNameW(path.c_str(), needed, full.data(), nullptr);
  if (written == 0 || written >= needed) return arg;
  full.resize(written);
  return full;
}

}  // namespace

void HandPathsToRunningInstance(HWND other, const std::vector<std::wstring>& args) {
  std::vector<std::wstring> paths;
  for (const std::wstring& arg : args) {
    if (!IsOption(arg)) paths.push_back(FullInThisFolder(arg));
  }
  if (paths.empty()) return;
  std::wstring block = PackHandedPaths(paths);
  COPYDATASTRUCT data{};
  data.dwData = kHandedPathsTag;
  data.cbData = static_cast<DWORD>(block.size() * sizeof(wchar_t));
  data.lpData = block.data();
  DWORD_PTR result = 0;
  SendMessageTimeoutW(other, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), SMTO_ABORTIFHUNG,
                      kHandOverTimeoutMs, &result);
}

bool ReceiveHandedPaths(HWND mainWindow, const COPYDATASTRUCT* data) {
  if (!data || data->dwData != kHandedPathsTag) return false;
  std::optional<std::vector<std::wstring>> paths = UnpackHandedPaths(data->lpData, data->cbData);
  if (!paths) return false;
  // The second start must not wait for what follows (a message box waits
  // for the user): it is released now, with the paths already copied.
  ReplyMessage(TRUE);
  // An unattended instance has no list to show and nobody to answer a
  // message: it ends after its own runs, and the paths are not its business.
  if (gApp.runFlags & kRunNoGui) return true;
  // The paths are read as the second start's command line would have been.
  const CommandCall call{mainWindow, kCmdAddPaths, &*paths,
                         [](HWND window, const std::vector<std::wstring>& args) { AddPathsToList(window, args); }};
  if (!DispatchCommand(call)) {
    // The list is the run's while it goes on; the user learns which paths
    // were not taken, to send them again afterwards.
    std::wstring text = Text(kStrHandedPathsDuringRun,
                             L"È in corso un'analisi o una deframmentazione: gli elementi seguenti non sono "
                             L"stati aggiunti all'elenco. Inviarli di nuovo al termine.");
    text += L"\r\n";
    for (const std::wstring& path : *paths) text += L"\r\n" + path;
    ShowMessageText(mainWindow, kMsgIconInformation, text);
  }
  return true;
}
