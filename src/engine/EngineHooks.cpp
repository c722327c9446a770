#include "engine/EngineHooks.h"

EngineHooks gEngineHooks;

bool PumpMessages() { return gEngineHooks.pumpMessages ? gEngineHooks.pumpMessages() : true; }

std::wstring DisplayText(uint32_t id, const wchar_t* literal) {
  return gEngineHooks.text ? gEngineHooks.text(id, literal) : std::wstring(literal);
}

void SetStatusText(int part, const std::wstring& text) {
  if (gEngineHooks.setStatusText) gEngineHooks.setStatusText(part, text);
}

void SetWorkingIcon(bool working) {
  if (gEngineHooks.setWorkingIcon) gEngineHooks.setWorkingIcon(working);
}

void ShowProgress(uint64_t last) {
  if (gEngineHooks.showProgress) gEngineHooks.showProgress(last);
}

void SetProgress(uint64_t position) {
  if (gEngineHooks.setProgress) gEngineHooks.setProgress(position);
}

void HideProgress() {
  if (gEngineHooks.hideProgress) gEngineHooks.hideProgress();
}

void RedrawList() {
  if (gEngineHooks.redrawList) gEngineHooks.redrawList();
}

void FileTried() {
  if (gEngineHooks.fileTried) gEngineHooks.fileTried();
}

std::vector<std::string> MissingEngineHooks(const EngineHooks& hooks) {
  std::vector<std::string> missing;
  auto need = [&missing](bool present, const char* name) {
    if (!present) missing.push_back(name);
  };
  need(bool(hooks.pumpMessages), "pumpMessages");
  need(bool(hooks.waitForWorker), "waitForWorker");
  need(bool(hooks.text), "text");
  need(bool(hooks.setStatusText), "setStatusText");
  need(bool(hooks.setWorkingIcon), "setWorkingIcon");
  need(bool(hooks.showProgress), "showProgress");
  need(bool(hooks.setProgress), "setProgress");
  need(bool(hooks.hideProgress), "hideProgress");
  need(bool(hooks.redrawList), "redrawList");
  return missing;
}
