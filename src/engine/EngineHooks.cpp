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
