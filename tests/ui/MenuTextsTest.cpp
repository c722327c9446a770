// Every item of every menu has its string id, so that a language replaces
// all of a menu's texts and none stays Italian; no menu has two items with
// the same access key, in either language.
#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "ui/ProfileCommands.h"
#include "res/ResourceIds.h"
#include "options/LanguageFile.h"
#include "ui/MenuTexts.h"
#include "options/CommandIds.h"
#include "util/Text.h"
#include "util/UnicodeTextFile.h"
#include "DialogHarness.h"

#include <filesystem>
#include <map>

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

// And the built-in language brings the menu's own texts back.
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
  for (const Menu& menu : menus) {
    HMENU loaded = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(menu.resource));
    ASSERT_NE(loaded, nullptr) << menu.resource;
    std::vector<std::pair<UINT, std::wstring>> original, texts;
    CollectTexts(loaded, original);
    FillTableWithMarkers();
    RetextMenu(loaded, menu.kind);
    CollectTexts(loaded, texts);
    EXPECT_FALSE(texts.empty());
    for (const auto& [id, text] : texts) {
      // The language list names each language in its own words; the pop-up
      // holders of the context menus are never shown.
      if (id >= kCmdFirstLanguage && id <= kCmdLastLanguage) continue;
      // The recent-profiles menu writes its placeholder itself (below).
      if (id == kRecentProfilesPlaceholderId) continue;
      if (text.empty() && id >= 9320) continue;
      EXPECT_EQ(text.substr(0, 1), L"#") << "menu " << menu.resource << ", item " << id << " keeps its built-in text";
    }
    SetBuiltInTexts(true);
    RetextMenu(loaded, menu.kind);
    texts.clear();
    CollectTexts(loaded, texts);
    EXPECT_EQ(texts, original) << "menu " << menu.resource;
    DestroyMenu(loaded);
  }
  ResetTexts();
}

// The placeholder of an empty recent-profiles list shares its number with
// the first recent profile: re-texting a menu leaves a profile's name alone,
// and the placeholder comes from the language when the menu is filled.
TEST(MenuTexts, TheFirstRecentProfileKeepsItsNameAndThePlaceholderFollowsTheLanguage) {
  FillTableWithMarkers();
  HMENU menu = CreatePopupMenu();
  AppendMenuW(menu, MF_STRING, kRecentProfilesPlaceholderId, L"&1 C:\\Profili\\lavoro.olp");
  RetextMenu(menu, MenuKind::Main);
  std::vector<std::pair<UINT, std::wstring>> texts;
  CollectTexts(menu, texts);
  EXPECT_EQ(texts, (std::vector<std::pair<UINT, std::wstring>>{{kRecentProfilesPlaceholderId, L"&1 C:\\Profili\\lavoro.olp"}}));

  FillRecentProfilesMenu(menu);
  texts.clear();
  CollectTexts(menu, texts);
  EXPECT_EQ(texts, (std::vector<std::pair<UINT, std::wstring>>{{kRecentProfilesPlaceholderId, L"#29"}}));
  SetBuiltInTexts(true);
  FillRecentProfilesMenu(menu);
  texts.clear();
  CollectTexts(menu, texts);
  EXPECT_EQ(texts, (std::vector<std::pair<UINT, std::wstring>>{{kRecentProfilesPlaceholderId, L"<vuoto>"}}));
  DestroyMenu(menu);
  ResetTexts();
}

class EnglishMenus : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(LoadEnglishTexts()); }
  void TearDown() override { ResetTexts(); }

  static HMENU Load(int resource, MenuKind kind) {
    HMENU menu = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resource));
    if (menu) RetextMenu(menu, kind);
    return menu;
  }
  // The texts of one pop-up's own items, in order.
  static std::vector<std::wstring> Items(HMENU popup) {
    std::vector<std::wstring> texts;
    for (int position = 0; position < GetMenuItemCount(popup); ++position) {
      wchar_t text[512] = {};
      MENUITEMINFOW info{};
      info.cbSize = sizeof info;
      info.fMask = MIIM_FTYPE | MIIM_STRING;
      info.dwTypeData = text;
      info.cch = ARRAYSIZE(text);
      GetMenuItemInfoW(popup, static_cast<UINT>(position), TRUE, &info);
      if (!(info.fType & MFT_SEPARATOR)) texts.push_back(text);
    }
    return texts;
  }
  // Every pop-up whose items share an access key, with that key.
  static void CollectDuplicateKeys(HMENU popup, const std::wstring& where, std::vector<std::wstring>& found) {
    std::map<wchar_t, std::wstring> keys;
    for (const std::wstring& text : Items(popup)) {
      for (size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != L'&') continue;
        if (text[i + 1] == L'&') {
          ++i;
          continue;
        }
        wchar_t key = static_cast<wchar_t>(towlower(text[i + 1]));
        if (keys.count(key)) found.push_back(where + L": \"" + keys[key] + L"\" and \"" + text + L"\"");
        keys[key] = text;
        break;
      }
    }
    for (int position = 0; position < GetMenuItemCount(popup); ++position) {
      if (HMENU sub = GetSubMenu(popup, position)) CollectDuplicateKeys(sub, where + L" > " + std::to_wstring(position), found);
    }
  }
};

TEST_F(EnglishMenus, NoMenuHasTwoItemsWithTheSameAccessKey) {
  const std::pair<int, MenuKind> menus[] = {
      {IDR_MAIN_MENU, MenuKind::Main},      {IDR_ITEM_LIST_MENU, MenuKind::ItemList},
      {IDR_FILE_LIST_MENU, MenuKind::FileList}, {IDR_ERROR_LIST_MENU, MenuKind::FileList},
      {IDR_ADD_MENU, MenuKind::ItemList},   {IDR_DEFRAG_MENU, MenuKind::Main},
  };
  // In English and in the built-in Italian.
  for (const wchar_t* language : {L"EN", L"IT"}) {
    if (language[0] == L'I') ResetTexts();
    std::vector<std::wstring> duplicates;
    for (auto [resource, kind] : menus) {
      HMENU menu = Load(resource, kind);
      ASSERT_NE(menu, nullptr) << resource;
      CollectDuplicateKeys(menu, std::wstring(language) + L" menu " + std::to_wstring(resource), duplicates);
      DestroyMenu(menu);
    }
    EXPECT_EQ(duplicates, std::vector<std::wstring>{});
  }
}

}  // namespace
