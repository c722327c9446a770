#include "ui/dialogs/HelpDialog.h"

#include "res/ResourceIds.h"
#include "ui/controls/DialogPlacement.h"
#include "options/StringIds.h"
#include "util/Text.h"

namespace {

constexpr wchar_t kHelpItalian[] =
    L"Uso: Ordalis.exe [opzioni] [percorso1] [percorso2] ...\r\n"
    L"\r\n"
    L"I percorsi indicano file e cartelle da aggiungere all'elenco. I caratteri jolly "
    L"(* e ?) aggiungono solo i file corrispondenti, mai le sottocartelle.\r\n"
    L"\r\n"
    L"/ANALYZE\tanalizza gli oggetti dell'elenco all'avvio\r\n"
    L"/DEFRAG\tdeframmenta gli oggetti dell'elenco all'avvio (dopo l'analisi se sono indicate "
    L"entrambe)\r\n"
    L"/PROF:file\tcarica gli oggetti del profilo indicato\r\n"
    L"/CHKDSK:n\tcontrollo del disco prima della deframmentazione: 0 nessuno, 1 automatico, 2 "
    L"chiedi\r\n"
    L"/CLEAN:n\teliminazione dei file temporanei prima della deframmentazione: 0 nessuna, 1 automatica, "
    L"2 chiedi\r\n"
    L"/LANG:xx\tlingua dell'interfaccia (due lettere, oppure AUTO)\r\n"
    L"/NOGUI\tesecuzione automatica senza finestra, riepilogo sulla console\r\n"
    L"/VB\tscrive sulla console del processo chiamante\r\n"
    L"/SHOWREPORT, /SR\tcon /NOGUI, mostra il riepilogo dopo la deframmentazione\r\n"
    L"/CLOSE\tchiude il programma al termine\r\n"
    L"/CLOSEIFOK\tchiude il programma al termine solo se non ci sono errori\r\n"
    L"/SHUTDOWN\tspegne il computer al termine\r\n"
    L"/NOPROMPT\tnessuna richiesta di conferma\r\n"
    L"/ALLOWABORT\tconsente di interrompere un'esecuzione automatica\r\n"
    L"/ONTOP\tfinestra sempre in primo piano\r\n"
    L"/QUICK\tmodalit\u00E0 rapida\r\n"
    L"/FULLROW\tselezione della riga intera negli elenchi\r\n"
    L"/NOSCROLL\tl'elenco non segue l'oggetto in elaborazione\r\n"
    L"/NOINI\tnon legge n\u00E9 salva il file delle impostazioni\r\n"
    L"/?, /HELP\tmostra questa guida\r\n"
    L"\r\n"
    L"Codici di uscita: 0 fine normale; 2 errori trovati dal controllo del disco; 3 "
    L"deframmentazione interrotta con errori; 4 analisi con errori; 5 nessun oggetto "
    L"aggiunto dalla riga di comando; 6 risorse insufficienti.";

INT_PTR CALLBACK HelpDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG: {
      const auto* title = reinterpret_cast<const wchar_t*>(lParam);
      SetWindowTextW(dialog, title ? title : Text(kStrHelpTitle, L"Ordalis - Guida"));
      SetDlgItemTextW(dialog, IDC_HELP_TEXT, Text(kStrHelpBody, kHelpItalian));
      SetDlgItemTextW(dialog, IDOK, Text(kStrHelpClose, L"Chiudi"));
      // Tab stops wide enough for the longest option name.
      int tabStop = 72;
      SendDlgItemMessageW(dialog, IDC_HELP_TEXT, EM_SETTABSTOPS, 1, reinterpret_cast<LPARAM>(&tabStop));
      SetFocus(GetDlgItem(dialog, IDOK));
      return FALSE;
    }
  }
  return EndsOnClose(dialog, message, wParam);
}

}  // namespace

void ShowHelpDialog(HWND owner, const wchar_t* title) {
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_HELP), owner, HelpDialogProc,
                  reinterpret_cast<LPARAM>(title));
}
