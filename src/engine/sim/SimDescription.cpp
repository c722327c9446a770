// The text form of a simulated volume: what tests, demonstrations and outside
// checks write to build a volume, and what the simulating variant of the
// program writes back as the volume's end state.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>

#include "engine/sim/SimVolume.h"
#include "util/PathText.h"

namespace {

struct Token {
  std::string text;
  bool quoted = false;
};

// Splits a line into words and quoted strings; ";" outside quotes ends it.
bool Tokenize(const std::string& line, std::vector<Token>& tokens, std::string& error) {
  size_t i = 0;
  while (i < line.size()) {
    const char c = line[i];
    if (c == ';') break;
    if (c == ' ' || c == '\t' || c == '\r') {
      ++i;
      continue;
    }
    if (c == '"') {
      const size_t close = line.find('"', i + 1);
      if (close == std::string::npos) {
        error = "unterminated quoted path";
        return false;
      }
      tokens.push_back({line.substr(i + 1, close - i - 1), true});
      i = close + 1;
      continue;
    }
    size_t end = i;
    while (end < line.size() && line[end] != ' ' && line[end] != '\t' && line[end] != '\r' &&
           line[end] != ';') {
      ++end;
    }
    tokens.push_back({line.substr(i, end - i), false});
    i = end;
  }
  return true;
}

bool ParseNumber(const std::string& text, uint64_t& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  errno = 0;
  value = std::strtoull(text.c_str(), &end, hex ? 16 : 10);
  // A number beyond 64 bits is refused rather than read as the largest one,
  // and the whole text must be the number: a NUL inside it would otherwise
  // end the reading early and pass for the end of the text.
  const bool whole = end == text.c_str() + text.size() && end != text.c_str() + (hex ? 2 : 0);
  return whole && text[0] != '-' && errno != ERANGE;
}

bool ParseSwitch(const std::string& text, bool& value) {
  if (text == "on") {
    value = true;
    return true;
  }
  if (text == "off") {
    value = false;
    return true;
  }
  return false;
}

bool SplitKey(const std::string& token, std::string& key, std::string& value) {
  const size_t equals = token.find('=');
  if (equals == std::string::npos) {
    key = token;
    value.clear();
    return false;
  }
  key = token.substr(0, equals);
  value = token.substr(equals + 1);
  return true;
}

bool ParseRuns(const std::string& text, std::vector<SimRun>& runs) {
  std::stringstream stream(text);
  std::string item;
  while (std::getline(stream, item, ',')) {
    const size_t colon = item.find(':');
    if (colon == std::string::npos) return false;
    SimRun run;
    uint64_t value;
    if (item.substr(0, colon) == "*") {
      run.lcn = -1;
    } else if (ParseNumber(item.substr(0, colon), value)) {
      run.lcn = int64_t(value);
    } else {
      return false;
    }
    if (!ParseNumber(item.substr(colon + 1), run.count) || run.count == 0) return false;
    runs.push_back(run);
  }
  return !runs.empty();
}

bool ParseControl(const std::string& text, SimControl& control) {
  static const struct {
    const char* name;
    SimControl control;
  } kNames[] = {{"move", SimControl::Move},
                {"pointers", SimControl::Pointers},
                {"bitmap", SimControl::Bitmap},
                {"open", SimControl::Open},
                {"volume", SimControl::Volume}};
  for (const auto& entry : kNames) {
    if (text == entry.name) {
      control = entry.control;
      return true;
    }
  }
  return false;
}

const char* ControlName(SimControl control) {
  switch (control) {
    case SimControl::Move: return "move";
    case SimControl::Pointers: return "pointers";
    case SimControl::Bitmap: return "bitmap";
    case SimControl::Open: return "open";
    case SimControl::Volume: return "volume";
  }
  return "move";
}

bool ParseVolume(const std::vector<Token>& tokens, SimSettings& settings, std::string& error) {
  for (size_t i = 1; i < tokens.size(); ++i) {
    std::string key, value;
    uint64_t number = 0;
    if (tokens[i].quoted || !SplitKey(tokens[i].text, key, value)) {
      error = "expected key=value, found " + tokens[i].text;
      return false;
    }
    bool ok = true;
    if (key == "letter") {
      ok = value.size() == 1 && std::isalpha(static_cast<unsigned char>(value[0]));
      settings.letter = wchar_t(std::toupper(static_cast<unsigned char>(value[0])));
    } else if (key == "clusters") {
      ok = ParseNumber(value, settings.clusters);
    } else if (key == "clusterSize") {
      ok = ParseNumber(value, number) && number > 0 && number <= 0x10000000;
      settings.clusterSize = uint32_t(number);
    } else if (key == "bitmapAlign") {
      ok = ParseNumber(value, number) && number > 0 && number <= 0x100000;
      settings.bitmapAlign = uint32_t(number);
    } else if (key == "inUseStatus") {
      ok = ParseNumber(value, number) && number <= 0xFFFFFFFF;
      settings.inUseStatus = NtStatus(uint32_t(number));
    } else if (key == "moveChunk") {
      ok = ParseNumber(value, number) && number > 0 && number <= 0x10000000;
      settings.moveChunk = uint32_t(number);
    } else if (key == "moveDelay") {
      ok = ParseNumber(value, number) && number <= 60000;
      settings.moveDelayMs = uint32_t(number);
    } else if (key == "checkpoint") {
      ok = ParseSwitch(value, settings.checkpoint);
    } else if (key == "partialMoves") {
      ok = ParseSwitch(value, settings.partialMoves);
    } else if (key == "pending") {
      ok = ParseSwitch(value, settings.pending);
    } else if (key == "blockOnFailure") {
      ok = ParseSwitch(value, settings.blockOnFailure);
    } else {
      error = "unknown volume setting " + key;
      return false;
    }
    if (!ok) {
      error = "bad value for " + key + ": " + value;
      return false;
    }
  }
  return true;
}

// One attribute of a file or fault line, as its reader takes it.
enum class Attribute { Taken, BadValue, Unknown };
using AttributeReader = std::function<Attribute(const std::string& key, const std::string& value, bool hasValue)>;

// Reads the line's quoted path into `path` and its attributes through `read`;
// `what` names the line in the errors.
bool ParseAttributes(const std::vector<Token>& tokens, const char* what, std::wstring& path, std::string& error,
                     const AttributeReader& read) {
  if (tokens.size() < 2 || !tokens[1].quoted) {
    error = std::string(what) + " needs a quoted path";
    return false;
  }
  path = WideFromUtf8(tokens[1].text);
  for (size_t i = 2; i < tokens.size(); ++i) {
    std::string key, value;
    const bool hasValue = SplitKey(tokens[i].text, key, value);
    switch (read(key, value, hasValue)) {
      case Attribute::Taken:
        break;
      case Attribute::BadValue:
        error = "bad value in " + tokens[i].text;
        return false;
      case Attribute::Unknown:
        error = "unknown " + std::string(what) + " attribute " + tokens[i].text;
        return false;
    }
  }
  return true;
}

Attribute Taken(bool ok) { return ok ? Attribute::Taken : Attribute::BadValue; }

bool ParseFile(const std::vector<Token>& tokens, SimFile& file, std::string& error) {
  bool sized = false, shaped = false;
  const bool read = ParseAttributes(tokens, "file", file.path, error,
                                    [&](const std::string& key, const std::string& value, bool hasValue) {
    if (key == "size" && hasValue) return Taken(sized = ParseNumber(value, file.size));
    if (key == "runs" && hasValue) return Taken(shaped = ParseRuns(value, file.runs));
    if (key == "unmovable" && hasValue) return Taken(ParseNumber(value, file.unmovable));
    if (key == "resident" && !hasValue) return Taken(file.resident = shaped = true);
    if (key == "compressed" && !hasValue) return Taken(file.compressed = true);
    if (key == "directory" && !hasValue) return Taken(file.directory = true);
    return Attribute::Unknown;
  });
  if (!read) return false;
  if (!sized) {
    error = "file needs size=";
    return false;
  }
  // An empty file has neither runs nor resident data.
  if (!shaped && file.size != 0) {
    error = "file needs runs= or resident";
    return false;
  }
  return true;
}

bool ParseFault(const std::vector<Token>& tokens, SimFault& fault, std::string& error) {
  bool hasControl = false;
  const bool read = ParseAttributes(tokens, "fault", fault.path, error,
                                    [&](const std::string& key, const std::string& value, bool hasValue) {
    uint64_t number = 0;
    if (key == "control" && hasValue) return Taken(hasControl = ParseControl(value, fault.control));
    if (key == "call" && hasValue) {
      const bool ok = ParseNumber(value, number) && number > 0 && number <= 0xFFFFFFFF;
      fault.call = uint32_t(number);
      return Taken(ok);
    }
    if (key == "status" && hasValue) {
      const bool ok = ParseNumber(value, number) && number <= 0xFFFFFFFF;
      fault.status = NtStatus(uint32_t(number));
      return Taken(ok);
    }
    if (key == "partial" && hasValue) return Taken(ParseNumber(value, fault.partial) && fault.partial > 0);
    if (key == "pending" && !hasValue) return Taken(fault.pending = true);
    return Attribute::Unknown;
  });
  if (!read) return false;
  if (!hasControl) {
    error = "fault needs control=";
    return false;
  }
  if (fault.partial != 0 && fault.control != SimControl::Move) {
    error = "partial= applies to control=move only";
    return false;
  }
  if (!fault.pending && fault.partial == 0 && fault.status == kStatusSuccess) {
    error = "fault needs status=, pending or partial=";
    return false;
  }
  return true;
}

bool ParseRange(const std::vector<Token>& tokens, int64_t& lcn, uint64_t& count, std::string& error) {
  uint64_t start = 0;
  if (tokens.size() != 3 || !ParseNumber(tokens[1].text, start) || !ParseNumber(tokens[2].text, count)) {
    error = tokens[0].text + " needs LCN COUNT";
    return false;
  }
  lcn = int64_t(start);
  return true;
}

std::string RunsText(const std::vector<SimRun>& runs) {
  std::string text;
  for (const SimRun& run : runs) {
    if (!text.empty()) text += ',';
    text += run.lcn == -1 ? std::string("*") : std::to_string(run.lcn);
    text += ':' + std::to_string(run.count);
  }
  return text;
}

std::string StatusText(NtStatus status) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%08X", uint32_t(status));
  return buffer;
}

}  // namespace

bool ParseSimDescription(const std::string& text, SimVolume& volume, std::string& error) {
  std::stringstream stream(text);
  std::string line;
  int number = 0;
  bool created = false;
  auto fail = [&](const std::string& reason) {
    error = "line " + std::to_string(number) + ": " + reason;
    return false;
  };
  while (std::getline(stream, line)) {
    ++number;
    if (number == 1 && line.compare(0, 3, "\xEF\xBB\xBF") == 0) line.erase(0, 3);
    std::vector<Token> tokens;
    std::string reason;
    if (!Tokenize(line, tokens, reason)) return fail(reason);
    if (tokens.empty()) continue;
    const std::string& verb = tokens[0].text;
    if (verb == "volume") {
      if (created) return fail("a second volume statement");
      SimSettings settings;
      if (!ParseVolume(tokens, settings, reason) || !volume.Create(settings, reason)) {
        return fail(reason);
      }
      created = true;
      continue;
    }
    if (!created) return fail("the volume statement must come first");
    if (verb == "reserve" || verb == "held") {
      int64_t lcn;
      uint64_t count;
      if (!ParseRange(tokens, lcn, count, reason)) return fail(reason);
      const bool ok = verb == "reserve" ? volume.Reserve(lcn, count, reason)
                                        : volume.Hold(lcn, count, reason);
      if (!ok) return fail(reason);
    } else if (verb == "file") {
      SimFile file;
      if (!ParseFile(tokens, file, reason) || !volume.AddFile(file, reason)) return fail(reason);
    } else if (verb == "fault") {
      SimFault fault;
      if (!ParseFault(tokens, fault, reason)) return fail(reason);
      volume.AddFault(fault);
    } else {
      return fail("unknown statement " + verb);
    }
  }
  if (!created) {
    error = "no volume statement";
    return false;
  }
  return true;
}

std::string WriteSimDescription(const SimVolume& volume) {
  const SimSettings& s = volume.Settings();
  auto onOff = [](bool value) { return value ? "on" : "off"; };
  std::string out = "volume letter=" + WideToUtf8(std::wstring(1, s.letter)) +
                    " clusters=" + std::to_string(s.clusters) +
                    " clusterSize=" + std::to_string(s.clusterSize) +
                    " bitmapAlign=" + std::to_string(s.bitmapAlign) +
                    " inUseStatus=" + StatusText(s.inUseStatus) + " checkpoint=" + onOff(s.checkpoint) +
                    " partialMoves=" + onOff(s.partialMoves) + " pending=" + onOff(s.pending) +
                    " moveChunk=" + std::to_string(s.moveChunk) +
                    (s.moveDelayMs != 0 ? " moveDelay=" + std::to_string(s.moveDelayMs) : "") +
                    (s.blockOnFailure ? " blockOnFailure=on" : "") + "\n";
  for (const SimRun& run : volume.Reserved()) {
    out += "reserve " + std::to_string(run.lcn) + " " + std::to_string(run.count) + "\n";
  }
  for (const SimRun& run : volume.Held()) {
    out += "held " + std::to_string(run.lcn) + " " + std::to_string(run.count) + "\n";
  }
  for (const SimFile& file : volume.Files()) {
    // A described path loses a long prefix when it is read, and any path
    // whose third character is "?" counts as prefixed: such a stored path is
    // written behind a prefix of its own, so that reading it back gives it
    // unchanged.
    const std::wstring path = HasLongPrefix(file.path) ? L"\\\\?\\" + file.path : file.path;
    out += "file \"" + WideToUtf8(path) + "\" size=" + std::to_string(file.size);
    if (file.resident) out += " resident";
    if (!file.runs.empty()) out += " runs=" + RunsText(file.runs);
    if (file.compressed) out += " compressed";
    if (file.directory) out += " directory";
    if (file.unmovable != 0) out += " unmovable=" + std::to_string(file.unmovable);
    out += "\n";
  }
  for (const SimFault& fault : volume.Faults()) {
    out += "fault \"" + WideToUtf8(fault.path) + "\" control=" + ControlName(fault.control);
    if (fault.call != 0) out += " call=" + std::to_string(fault.call);
    if (fault.pending) out += " pending";
    if (fault.status != kStatusSuccess) out += " status=" + StatusText(fault.status);
    if (fault.partial != 0) out += " partial=" + std::to_string(fault.partial);
    out += "\n";
  }
  return out;
}
