#include "engine/sim/SimEnvironment.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "engine/FileQueries.h"
#include "engine/sim/SimVolume.h"

namespace {

struct SimEnvironmentState {
  std::unique_ptr<SimVolume> volume;
};
SimEnvironmentState gSimEnvironment;

// Environment values as paths: wide on Windows, where names may hold any
// character.
bool ReadVariable(const char* name, std::filesystem::path& value) {
#ifdef _WIN32
  const std::wstring wideName(name, name + std::char_traits<char>::length(name));
  const wchar_t* text = _wgetenv(wideName.c_str());
#else
  const char* text = std::getenv(name);
#endif
  if (text == nullptr || *text == 0) return false;
  value = std::filesystem::path(text);
  return true;
}

bool LookUpOnDisk(const std::wstring& path, uint64_t& size, bool& isDirectory) {
  const uint32_t attributes = Fs().GetAttributes(path);
  if (attributes == kInvalidAttributes) return false;
  isDirectory = (attributes & kAttrDirectory) != 0;
  size = 0;
  if (!isDirectory) {
    bool found = false;
    Fs().FindEntries(path, [&](const DirEntry& entry) {
      size = entry.size;
      found = true;
      return false;
    });
    return found;
  }
  return true;
}

}  // namespace

SimVolume* InstalledSimVolume() { return gSimEnvironment.volume.get(); }

bool InstallSimVolumeFromEnvironment() {
  std::filesystem::path name;
  if (!ReadVariable("ORDALIS_SIMVOLUME", name)) {
    std::fputs("ORDALIS_SIMVOLUME names no volume description\n", stderr);
    return false;
  }
  std::ifstream input(name, std::ios::binary);
  if (!input) {
    std::fprintf(stderr, "cannot read the volume description %s\n", name.string().c_str());
    return false;
  }
  const std::string text((std::istreambuf_iterator<char>(input)), std::istreambuf_iterator<char>());
  auto volume = std::make_unique<SimVolume>();
  std::string error;
  if (!ParseSimDescription(text, *volume, error)) {
    std::fprintf(stderr, "volume description %s: %s\n", name.string().c_str(), error.c_str());
    return false;
  }
  volume->textSource = CurrentVolumeAccess();
  volume->diskLookup = LookUpOnDisk;
  gSimEnvironment.volume = std::move(volume);
  SetVolumeAccess(gSimEnvironment.volume.get());
  return true;
}

void WriteSimVolumeEndStateFromEnvironment() {
  SimVolume* volume = gSimEnvironment.volume.get();
  std::filesystem::path name;
  if (volume == nullptr || !ReadVariable("ORDALIS_SIMVOLUME_OUT", name)) return;
  std::string text = WriteSimDescription(*volume);
  const std::vector<std::string> violations = volume->Check();
  if (violations.empty()) {
    text += "check ok\n";
  }
  for (const std::string& violation : violations) {
    text += "check FAILED " + violation + "\n";
  }
  std::ofstream output(name, std::ios::binary | std::ios::trunc);
  output << text;
}
