#pragma once
// The cleanup of the temporary folder before a run, and how an external
// cleaning program is started. Both are free of the platform: the folder is
// emptied through the file-system seam, the program's start is described
// here and carried out by the window side (engine/cleanup).
#include <cstdint>
#include <string>

class MessagePump;

// Entries the last DeleteFolderContents visited.
extern uint32_t gCleanupCount;

// Deletes everything below `folder` and leaves the folder itself. Read-only
// files lose that bit first. A link to a folder (a junction, a mounted
// folder, a symbolic link) is removed as a link and never entered: the
// cleanup runs with the administrator's rights, and whatever a link in the
// temporary folder points at is not temporary. Stops at the next entry once
// a stop is requested; handles the window's messages every fourth deleted
// file. Failures are ignored: a file in use simply stays.
void DeleteFolderContents(MessagePump& pump, const std::wstring& folder);


// How an external program is started: its path is the application name, so
// that a path with blanks can only start that program; the command line
// repeats the path in quotes and adds the switches as one quoted argument.
struct ProgramLaunch {
  std::wstring applicationName;
  std::wstring commandLine;
};
ProgramLaunch LaunchOf(const std::wstring& program, const std::wstring& switches);
