#include "options/CommandLine.h"

#include <cwctype>

#include "options/ProgramVersion.h"
#include "options/RunFlags.h"
#include "engine/FileQueries.h"

namespace {

std::wstring UpperAscii(const std::wstring& text) {
  std::wstring upper = text;
  for (wchar_t& c : upper) {
    if (c >= L'a' && c <= L'z') c = static_cast<wchar_t>(c - L'a' + L'A');
  }
  return upper;
}

struct WholeOption {
  const wchar_t* word;
  uint32_t flag;
};

// Options that must match the whole argument, in any letter case.
constexpr WholeOption kWholeOptions[] = {
    {L"/ANALYZE", kRunAnalyze},     {L"/DEFRAG", kRunDefrag},
    {L"/NOGUI", kRunNoGui},         {L"/VB", kRunVerboseConsole},
    {L"/SHOWREPORT", kRunShowReport}, {L"/SR", kRunShowReport},
    {L"/CLOSE", kRunClose},         {L"/CLOSEIFOK", kRunCloseIfOk},
    {L"/SHUTDOWN", kRunShutdown},   {L"/NOPROMPT", kRunNoPrompt},
    {L"/ALLOWABORT", kRunAllowAbort}, {L"/ONTOP", kRunOnTop},
    {L"/QUICK", kRunQuick},         {L"/FULLROW", kRunFullRow},
    {L"/NOSCROLL", kRunNoScroll},   {L"/NOINI", kRunNoIni},
    {L"/?", kRunHelp},              {L"/HELP", kRunHelp},
};

// The digit behind "/CHKDSK:" or "/CLEAN:" chooses a command; any other
// character only records that a choice was given.
uint32_t DigitChoice(wchar_t digit, uint32_t none, uint32_t one, uint32_t two) {
  switch (digit) {
    case L'0': return none;
    case L'1': return one;
    case L'2': return two;
    default: return 0;
  }
}

bool IsDriveLetterColon(const std::wstring& path) {
  return path.size() >= 2 && path[1] == L':';
}

std::wstring Trim(const std::wstring& text) {
  size_t first = 0;
  size_t last = text.size();
  while (first < last && std::iswspace(text[first])) ++first;
  while (last > first && std::iswspace(text[last - 1])) --last;
  return text.substr(first, last - first);
}

std::wstring StripQuotes(const std::wstring& text) {
  size_t first = 0;
  size_t last = text.size();
  while (first < last && text[first] == L'"') ++first;
  while (last > first && text[last - 1] == L'"') --last;
  return text.substr(first, last - first);
}

void ReportNotFound(const std::wstring& path, uint32_t runFlags, PathArgumentsUi& ui) {
  if (runFlags & kRunNoGui) {
    ui.ConsoleText(L"Cannot find the following item : " + path + L" \r\n\r\n");
  } else {
    ui.ShowMessage(L"Cannot find the following item:\r\n\r\n" + path + L"\r\n");
  }
}

// Adds every file matching the wildcard in its folder; folders that match are
// left out. Returns false when nothing at all matched.
bool AddWildcardMatches(const std::wstring& pattern, PathArgumentsUi& ui) {
  size_t slash = pattern.find_last_of(L'\\');
  std::wstring folder = slash == std::wstring::npos ? std::wstring() : pattern.substr(0, slash);
  std::vector<std::wstring> files;
  uint32_t error = Fs().FindEntries(pattern, [&](const DirEntry& entry) {
    if (entry.name == L"." || entry.name == L"..") return true;
    if (entry.attributes & kAttrDirectory) return true;
    files.push_back(folder + L"\\" + entry.name);
    return true;
  });
  if (error != 0) return false;
  for (const std::wstring& file : files) ui.AddPath(false, file);
  return true;
}

}  // namespace

std::wstring DoubleBackslashes(const std::wstring& text) {
  std::wstring doubled;
  doubled.reserve(text.size() * 2);
  for (wchar_t c : text) {
    doubled += c;
    if (c == L'\\') doubled += L'\\';
  }
  return doubled;
}

std::wstring UndoubleBackslashes(const std::wstring& text) {
  std::wstring single;
  single.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    single += text[i];
    if (text[i] == L'\\' && i + 1 < text.size() && text[i + 1] == L'\\') ++i;
  }
  return single;
}

uint32_t ParseOptions(const std::vector<std::wstring>& args, CommandLineChoices& choices) {
  uint32_t flags = 0;
  for (const std::wstring& arg : args) {
    if (arg.empty() || arg[0] != L'/') continue;
    const std::wstring upper = UpperAscii(arg);
    for (const WholeOption& option : kWholeOptions) {
      if (upper == option.word) flags |= option.flag;
    }
    // The options with a value are found anywhere inside the argument; their
    // value is taken from the argument as typed, so a path keeps its case.
    // The splitting has already undone the backslash doubling: undoing it
    // again would halve the leading pair of a network or long path.
    if (size_t at = upper.find(L"/PROF:"); at != std::wstring::npos) {
      flags |= kRunProfile;
      choices.profilePath = arg.substr(at + 6);
    }
    if (size_t at = upper.find(L"/CHKDSK:"); at != std::wstring::npos) {
      flags |= kRunDiskCheckGiven;
      wchar_t digit = at + 8 < arg.size() ? arg[at + 8] : L'\0';
      if (uint32_t command = DigitChoice(digit, 9058, 9057, 9059)) choices.diskCheckCommand = command;
    }
    if (size_t at = upper.find(L"/CLEAN:"); at != std::wstring::npos) {
      flags |= kRunCleanupGiven;
      wchar_t digit = at + 7 < arg.size() ? arg[at + 7] : L'\0';
      if (uint32_t command = DigitChoice(digit, 9054, 9053, 9055)) choices.cleanupCommand = command;
    }
    if (size_t at = upper.find(L"/LANG:"); at != std::wstring::npos) {
      flags |= kRunLanguage;
      if (upper.compare(at + 6, 4, L"AUTO") == 0) {
        choices.languageCode = L"AUTO";
      } else {
        choices.languageCode = arg.substr(at + 6, 2);
      }
    }
  }
  return flags;
}

uint32_t ApplyOptionInteractions(uint32_t flags) {
  if ((flags & kRunClose) && (flags & kRunCloseIfOk)) flags &= ~kRunCloseIfOk;
  if ((flags & kRunClose) && (flags & kRunShutdown)) flags &= ~kRunClose;
  if ((flags & kRunCloseIfOk) && (flags & kRunShutdown)) flags &= ~kRunCloseIfOk;
  if (flags & kRunNoGui) flags |= kRunClose;
  if ((flags & kRunCloseIfOk) && (flags & kRunNoGui)) flags &= ~kRunClose;
  if ((flags & kRunShowReport) && !(flags & kRunNoGui)) flags &= ~kRunShowReport;
  return flags;
}

std::wstring ConsoleBanner() {
  return std::wstring(L"\r\n\r\n") + L"Ordalis v" + ORDALIS_VERSION_TEXT + L"\r\n" +
         ORDALIS_NOTICE_TEXT + L"\r\n" + L"\r\n";
}

bool AddPathArguments(const std::vector<std::wstring>& args, uint32_t runFlags, PathArgumentsUi& ui) {
  bool pathGiven = false;
  for (const std::wstring& arg : args) {
    if (!arg.empty() && arg[0] == L'/') continue;
    pathGiven = true;
    bool isRoot = arg.size() == 3 && (arg[2] == L'"' || arg.compare(1, 2, L":\\") == 0);

    std::wstring path = Trim(StripQuotes(arg));
    // A bare drive letter and colon is the drive's root as well: without the
    // backslash it would name the drive's current folder instead.
    if (path.size() == 2 && path[1] == L':') isRoot = true;
    if (isRoot && IsDriveLetterColon(path)) {
      path = path.substr(0, 2) + L"\\";
    } else if (!path.empty() && path.back() == L'\\') {
      path.pop_back();
    }
    path = Fs().FullPath(path, 2048);
    if (path.empty()) {
      ReportNotFound(Trim(StripQuotes(arg)), runFlags, ui);
      ui.AfterPath();
      continue;
    }

    DriveKind kind = Fs().GetDriveKind(path.substr(0, 3));
    if (kind == DriveKind::Remote || kind == DriveKind::CdRom || kind == DriveKind::NoRootDir) {
      ui.ConsoleText(L"Cannot process the following item : " + path + L" \r\n");
      ui.ConsoleText(
          L"The drive is a remote (network) drive, the drive is a DVD-ROM drive or there is no "
          L"volume mounted at the specified path.\r\n\r\n");
      continue;
    }

    bool found = false;
    if (path.find_first_of(L"*?") == std::wstring::npos) {
      bool isFolder = isRoot;
      uint32_t error = Fs().FindEntries(path, [&](const DirEntry& entry) {
        isFolder = isFolder || (entry.attributes & kAttrDirectory) != 0;
        return false;
      });
      found = error == 0 || isRoot;
      if (found) ui.AddPath(isFolder, path);
    } else {
      found = AddWildcardMatches(path, ui);
    }
    if (!found) ReportNotFound(path, runFlags, ui);
    ui.AfterPath();
  }
  return pathGiven;
}
