// Every item of every menu has its string id, so that a language replaces
// all of a menu's texts and none stays Italian.
#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "res/ResourceIds.h"
#include "ui/MenuTexts.h"
#include "ui/CommandIds.h"
#include "util/Text.h"

namespace {

// Each entry reads "#" and its id, so a menu text shows where it came from.
void FillTableWithMarkers() {
  ResetTexts();
  for (uint32_t id = 0; id < TextCapacity(); ++id) SetText(id, L"#" + std::to_wstring(id));
  SetBuiltInTexts(false);
}

// The texts of all items, sub-menus included, with their numbers.
void CollectTexts(HMENU menu, std::vector<std::pair<UINT, std::wstring>>& texts) {
  for (int position = 0; position < GetMenuItemCount(menu); ++position) {
    wchar_t text[512] = {};
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_ID | MIIM_SUBMENU | MIIM_FTYPE | MIIM_STRING;
    info.dwTypeData = text;
    info.cch = ARRAYSIZE(text);
    ASSERT_TRUE(GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info));
    if (info.fType & MFT_SEPARATOR) continue;
    texts.emplace_back(info.wID, text);
    if (info.hSubMenu) CollectTexts(info.hSubMenu, texts);
  }
}

TEST(MenuTexts, EveryItemOfEveryMenuHasAStringId) {
  struct Menu {
    int resource;
    MenuKind kind;
  };
  const Menu menus[] = {
      {IDR_MAIN_MENU, MenuKind::Main},          {IDR_ITEM_LIST_MENU, MenuKind::ItemList},
      {IDR_FILE_LIST_MENU, MenuKind::FileList}, {IDR_ADD_MENU, MenuKind::ItemList},
      {IDR_DEFRAG_MENU, MenuKind::Main},        {IDR_RECENT_PROFILES_MENU, MenuKind::Main},
      {IDR_ITEM_COLUMNS_MENU, MenuKind::Columns}, {IDR_FILE_COLUMNS_MENU, MenuKind::Columns},
  };
  FillTableWithMarkers();
  for (const Menu& menu : menus) {
    HMENU loaded = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(menu.resource));
    ASSERT_NE(loaded, nullptr) << menu.resource;
    RetextMenu(loaded, menu.kind);
    std::vector<std::pair<UINT, std::wstring>> texts;
    CollectTexts(loaded, texts);
    EXPECT_FALSE(texts.empty());
    for (const auto& [id, text] : texts) {
      // The language list names each language in its own words; the pop-up
      // holders of the context menus are never shown.
      if (id >= kCmdFirstLanguage && id <= kCmdLastLanguage) continue;
      if (text.empty() && id >= 9320) continue;
      EXPECT_EQ(text.substr(0, 1), L"#") << "menu " << menu.resource << ", item " << id << " keeps its built-in text";
    }
    DestroyMenu(loaded);
  }
  ResetTexts();
}

TEST(MenuTexts, BuiltInTextsComeBackWithTheBuiltInLanguage) {
  HMENU menu = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_MAIN_MENU));
  ASSERT_NE(menu, nullptr);
  std::vector<std::pair<UINT, std::wstring>> original;
  CollectTexts(menu, original);

  FillTableWithMarkers();
  RetextMenu(menu, MenuKind::Main);
  SetBuiltInTexts(true);
  RetextMenu(menu, MenuKind::Main);
  std::vector<std::pair<UINT, std::wstring>> again;
  CollectTexts(menu, again);
  EXPECT_EQ(again, original);
  DestroyMenu(menu);
  ResetTexts();
}

}  // namespace
