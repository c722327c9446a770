#pragma once
// A profile import that adds to the list and reports nothing, as one with
// nobody to ask.
#include "selection/Profile.h"

class QuietImportUi final : public ProfileImportUi {
 public:
  ImportChoice AskAddOrReplace() override { return ImportChoice::Add; }
  void ListCleared() override {}
  void Begin(uint64_t) override {}
  void Progress(uint64_t) override {}
  bool StopRequested() override { return false; }
  void End() override {}
};
