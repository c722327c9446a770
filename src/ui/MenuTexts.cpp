#include "ui/MenuTexts.h"

#include <cstdint>

#include "options/CommandIds.h"
#include "options/StringIds.h"
#include "util/Text.h"

namespace {

using MenuText = ControlText;  // the id is the command

constexpr MenuText kMainMenuTexts[] = {
    {kMenuFile, kStrMenuFile, L"&File"},
    {kMenuProfiles, kStrMenuProfiles, L"&Profili"},
    {kMenuActions, kStrMenuActions, L"&Azioni"},
    {kMenuView, kStrMenuView, L"&Visualizza"},
    {kMenuTools, kStrMenuTools, L"&Strumenti"},
    {kMenuOptions, kStrMenuOptions, L"&Opzioni"},
    {kMenuHelp, kStrMenuHelp, L"&?"},
    {kMenuAdd, kStrMenuAdd, L"&Aggiungi"},
    {kCmdAddFiles, kStrMenuAddFiles, L"&File...\tCTRL+O"},
    {kCmdAddFolder, kStrMenuAddFolder, L"&Cartella...\tCTRL+D"},
    {kCmdRemove, kStrMenuRemove, L"&Rimuovi\tCANC"},
    {kCmdSaveReport, kStrMenuSaveReport, L"&Salva report..."},
    {kCmdExit, kStrMenuExit, L"Esc&i"},
    {kCmdImportProfile, kStrMenuImportProfile, L"&Importa profilo..."},
    {kCmdSaveProfile, kStrMenuSaveProfile, L"&Salva profilo con nome..."},
    {kCmdRecentProfilesDialog, kStrMenuRecentProfilesDialog, L"Configura &elenco profili recenti..."},
    {kCmdAnalyzeAll, kStrMenuAnalyze, L"A&nalizza"},
    {kCmdDefragAll, kStrMenuDefrag, L"&Deframmenta"},
    {kCmdStop, kStrMenuStop, L"A&rresta"},
    {kCmdAnalyzeSelected, kStrMenuAnalyzeSelected, L"Anali&zza gli oggetti selezionati"},
    {kCmdDefragSelected, kStrMenuDefragSelected, L"Deframmenta &gli oggetti selezionati"},
    {kCmdOpen, kStrMenuOpen, L"&Apri"},
    {kCmdOpenItemFolder, kStrMenuOpenFolder, L"Apri p&ercorso file"},
    {kCmdFragmentDetails, kStrMenuFragmentDetails, L"Informazioni sui fra&mmenti"},
    {kCmdProperties, kStrMenuProperties, L"&Propriet\u00E0"},
    {kCmdExcludeSelected, kStrMenuExclude, L"Aggiungi all'elenco degli oggetti da esc&ludere"},
    {kCmdShowToolbar, kStrMenuToolbar, L"Barra degli &strumenti"},
    {kCmdShowInfoPanel, kStrMenuInfoPanel, L"&Pannello delle informazioni"},
    {kCmdShowStatusBar, kStrMenuStatusBar, L"&Barra di stato"},
    {kCmdShowStateIcons, kStrMenuStateIcons, L"Mostra icone di s&tato"},
    {kCmdShowSystemIcons, kStrMenuSystemIcons, L"Mostra icone di sist&ema"},
    {kCmdFullRow, kStrMenuFullRow, L"Seleziona riga i&ntera"},
    {kCmdOnTop, kStrMenuOnTop, L"In p&rimo piano"},
    {kCmdFollowItem, kStrMenuFollowItem, L"Sc&orri elenco"},
    {kCmdFilterDialog, kStrMenuFilter, L"&Gestione filtro..."},
    {kCmdHighlightDialog, kStrMenuHighlight, L"Configura eviden&ziazione oggetti..."},
    {kMenuLanguage, kStrMenuLanguage, L"&Lingua"},
    {kCmdViewLanguageFile, kStrMenuViewLanguageFile, L"&Visualizza file di lingua..."},
    {kCmdConfirmPrompts, kStrMenuConfirmPrompts, L"Visualizza &messaggi di conferma"},
    {kMenuStrategy, kStrMenuStrategy, L"&Strategia di deframmentazione"},
    {kCmdQuickStrategy, kStrMenuQuick, L"&Rapida"},
    {kCmdSmartStrategy, kStrMenuSmart, L"I&ntelligente"},
    {kMenuDiskCheck, kStrMenuDiskCheck, L"Verifica gli errori sul &volume"},
    {kCmdDiskCheckAuto, kStrMenuDiskCheckAuto, L"&Automatico"},
    {kCmdDiskCheckOff, kStrMenuDiskCheckOff, L"&Disattivato"},
    {kCmdDiskCheckAsk, kStrMenuAskUser, L"&Chiedi all'utente"},
    {kMenuCleanup, kStrMenuCleanup, L"&Pulitura disco"},
    {kCmdCleanupAuto, kStrMenuCleanupAuto, L"&Automatica"},
    {kCmdCleanupOff, kStrMenuCleanupOff, L"&Disattivata"},
    {kCmdCleanupAsk, kStrMenuAskUser, L"&Chiedi all'utente"},
    {kCmdCleanupShowErrors, kStrMenuCleanupErrors, L"Mostra messaggi di &errore"},
    {kMenuPriority, kStrMenuPriority, L"P&riorit\u00E0"},
    {kCmdPriorityHigh, kStrMenuPriorityHigh, L"&Alta"},
    {kCmdPriorityAboveNormal, kStrMenuPriorityAboveNormal, L"&SupNormale"},
    {kCmdPriorityNormal, kStrMenuPriorityNormal, L"&Normale"},
    {kCmdPriorityBelowNormal, kStrMenuPriorityBelowNormal, L"&InfNormale"},
    {kCmdPriorityIdle, kStrMenuPriorityIdle, L"&Bassa"},
    {kMenuSolidState, kStrMenuSolidState, L"Unit\u00E0 a stato solido (SS&D)"},
    {kCmdSkipSolidState, kStrMenuSkipSolidState, L"Ign&ora unit\u00E0 a stato solido (SSD)"},
    {kCmdNoSolidStateDetection, kStrMenuNoSolidStateDetection,
     L"Disa&bilita identificazione unit\u00E0 a stato solido (SSD)"},
    {kCmdCloseAfterDefrag, kStrMenuCloseAfterDefrag, L"&Chiudi programma al termine della deframmentazione"},
    {kCmdShutdownAfterDefrag, kStrMenuShutdownAfterDefrag,
     L"&Arresta il sistema al termine della deframmentazione"},
    {kCmdCommandLineHelp, kStrMenuCommandLineHelp, L"&Parametri della riga di comando"},
    {kCmdWarrantyDisclaimer, kStrMenuWarranty, L"&Esclusione di garanzie"},
    {kCmdAbout, kStrMenuAbout, L"&Informazioni su Ordalis"},
    // The drop-downs and context menus.
    {kCmdSelectFiles, kStrMenuSelectFiles, L"&Seleziona"},
    {kCmdDeselectFiles, kStrMenuDeselectFiles, L"&Deseleziona"},
    {kCmdInvertSelection, kStrMenuInvertSelection, L"&Inverti selezione"},
    {kCmdDefragAllFiles, kStrMenuDefragAllFiles, L"Deframmenta tutti i file"},
    {kCmdDefragSelectedFiles, kStrMenuDefragSelectedFiles, L"Deframmenta solamente i file selezionati"},
};

// Where a menu's text differs from the menu bar's for the same command.
constexpr MenuText kItemListTexts[] = {
    {kCmdAddFiles, kStrMenuAddFilesLong, L"Aggiungi &file...\tCTRL+O"},
    {kCmdAddFolder, kStrMenuAddFolderLong, L"Aggiungi &cartella...\tCTRL+D"},
};
constexpr MenuText kFileListTexts[] = {
    {kCmdProperties, kStrMenuFileProperties, L"P&ropriet\u00E0"},
};
constexpr MenuText kColumnTexts[] = {
    {kCmdColumnName, kStrColumnName, L"Nome"},
    {kCmdColumnState, kStrColumnState, L"Stato"},
    {kCmdColumnSize, kStrColumnSize, L"Dimensione"},
    {kCmdColumnSizeOnDisk, kStrColumnSizeOnDisk, L"Dimensione su disco"},
    {kCmdColumnFragments, kStrColumnFragments, L"Frammenti"},
    {kCmdColumnClusters, kStrColumnClusters, L"Cluster"},
    {kCmdColumnType, kStrColumnType, L"Tipo"},
    {kCmdColumnPercentOnDisk, kStrColumnPercentOnDisk, L"% su disco"},
    {kCmdColumnModified, kStrColumnModified, L"Data ultima modifica"},
    {kCmdColumnAttributes, kStrColumnAttributes, L"Attributi"},
    {kCmdColumnErrorText, kStrErrorColumnText, L"Errore"},
    {kCmdDefaultColumns, kStrMenuDefaultColumns, L"Predefinito"},
};

template <size_t N>
const MenuText* Find(const MenuText (&table)[N], uint32_t command) {
  for (const MenuText& entry : table) {
    if (entry.id == command) return &entry;
  }
  return nullptr;
}

const MenuText* TextFor(MenuKind kind, uint32_t command) {
  switch (kind) {
    case MenuKind::ItemList:
      if (const MenuText* text = Find(kItemListTexts, command)) return text;
      break;
    case MenuKind::FileList:
      if (const MenuText* text = Find(kFileListTexts, command)) return text;
      break;
    case MenuKind::Columns:
      return Find(kColumnTexts, command);
    case MenuKind::Main:
      break;
  }
  return Find(kMainMenuTexts, command);
}

}  // namespace

void RetextMenu(HMENU menu, MenuKind kind) {
  int count = GetMenuItemCount(menu);
  for (int position = 0; position < count; ++position) {
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_ID | MIIM_SUBMENU | MIIM_FTYPE;
    if (!GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info)) continue;
    if (info.fType & MFT_SEPARATOR) continue;
    if (const MenuText* text = TextFor(kind, info.wID)) {
      MENUITEMINFOW change{};
      change.cbSize = sizeof change;
      change.fMask = MIIM_STRING;
      change.dwTypeData = const_cast<wchar_t*>(Text(text->textId, text->italian));
      SetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &change);
    }
    if (info.hSubMenu) RetextMenu(info.hSubMenu, kind);
  }
}

HMENU LoadPopupMenu(int resourceId, MenuKind kind) {
  HMENU bar = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resourceId));
  if (!bar) return nullptr;
  HMENU popup = GetSubMenu(bar, 0);
  // Detached first, the popup outlives the resource's outer menu.
  if (popup) RemoveMenu(bar, 0, MF_BYPOSITION);
  DestroyMenu(bar);
  if (popup) RetextMenu(popup, kind);
  return popup;
}
