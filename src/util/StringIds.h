#pragma once
// String ids of the display texts, by name. The language files use the same
// numbers. Add the ids of new texts here, one name per id.
#include <cstdint>

constexpr uint32_t kStrFragmented = 5;         // "Frammentato" / "Frammentata"
constexpr uint32_t kStrNotFragmented = 6;      // "Non frammentato" / "Non frammentata"
constexpr uint32_t kStrError = 7;              // "Errore"
constexpr uint32_t kStrDefragmented = 8;       // "Deframmentato" / "Deframmentata"
constexpr uint32_t kStrContiguous = 146;       // "Contiguo"
constexpr uint32_t kStrCannotAccess = 233;     // "Impossibile accedere a %s."
constexpr uint32_t kStrAborted = 368;          // "Interrotto"
constexpr uint32_t kStrSkipped = 369;          // "Scartato"
constexpr uint32_t kStrProcessing = 424;       // "In elaborazione..."
// "Cartella principale" (type column of a drive's root folder). Provisional
// number: no language file assigns it yet.
constexpr uint32_t kStrRootFolder = 425;

// Column titles of the item list. Provisional numbers: no language file
// assigns them yet.
constexpr uint32_t kStrColumnName = 430;           // "Nome"
constexpr uint32_t kStrColumnState = 431;          // "Stato"
constexpr uint32_t kStrColumnSize = 432;           // "Dimensione"
constexpr uint32_t kStrColumnSizeOnDisk = 433;     // "Dimensione su disco"
constexpr uint32_t kStrColumnFragments = 434;      // "Frammenti"
constexpr uint32_t kStrColumnClusters = 435;       // "Cluster"
constexpr uint32_t kStrColumnType = 436;           // "Tipo"
constexpr uint32_t kStrColumnPercentOnDisk = 437;  // "% su disco"
constexpr uint32_t kStrColumnModified = 438;       // "Data ultima modifica"
constexpr uint32_t kStrColumnAttributes = 439;     // "Attributi"

// The help window of the command line. Provisional numbers.
constexpr uint32_t kStrHelpTitle = 440;  // "Ordalis - Guida"
constexpr uint32_t kStrHelpBody = 441;   // the options and what they do
constexpr uint32_t kStrHelpClose = 442;  // "Chiudi"

// Main window: toolbar, bottom panel, status bars, column menus.
constexpr uint32_t kStrAnalysing = 444;              // "Analisi in corso..."
constexpr uint32_t kStrColumnsDefault = 234;         // "Predefinito"
constexpr uint32_t kStrItemsInList = 235;            // "Oggetti totali in elenco: "
constexpr uint32_t kStrWaiting = 236;                // "In attesa"
constexpr uint32_t kStrFilesProcessed = 237;         // "Totale file elaborati: "
constexpr uint32_t kStrWaitForStop = 238;            // "Attendere che l'operazione in corso sia terminata..."
constexpr uint32_t kStrNoticeEmptyList = 239;        // "Aggiungere in elenco i file da deframmentare."
constexpr uint32_t kStrNoticeNoFragmented = 240;     // "Non sono presenti file frammentati."
constexpr uint32_t kStrNoticeNoUnprocessed = 241;    // "Non sono presenti file non elaborati."
constexpr uint32_t kStrNoFiles = 242;                // "Nessun file"
constexpr uint32_t kStrResultColumnName = 243;       // "      Nome"
constexpr uint32_t kStrTabFragmented = 244;          // "File frammentati"
constexpr uint32_t kStrTabSummary = 245;             // "Riepilogo"
constexpr uint32_t kStrCounterSeen = 246;            // "File esaminati:"
constexpr uint32_t kStrCounterNotFragmented = 247;   // "File non frammentati:"
constexpr uint32_t kStrCounterTried = 248;           // "File elaborati:"
constexpr uint32_t kStrCounterMoved = 249;           // "File deframmentati:"
constexpr uint32_t kStrToolAdd = 250;                // "Aggiungi"
constexpr uint32_t kStrToolRemove = 251;             // "Rimuovi"
constexpr uint32_t kStrToolAnalyse = 254;            // "Analizza"
constexpr uint32_t kStrToolDefragment = 255;         // "Deframmenta"
constexpr uint32_t kStrToolStop = 256;               // "Arresta"
constexpr uint32_t kStrTipAdd = 257;                 // "Consente di aggiungere in elenco ..."
constexpr uint32_t kStrTipDefragment = 258;          // "Consolida i file frammentati ..."
constexpr uint32_t kStrTipRemove = 259;              // "Rimuove dall'elenco gli oggetti selezionati."
constexpr uint32_t kStrTipAnalyse = 260;             // "Analizza la frammentazione degli oggetti in elenco."
constexpr uint32_t kStrTipStop = 261;                // "Arresta l'operazione in corso."
constexpr uint32_t kStrMenuAddFile = 262;            // "Aggiungi &file...\tCTRL+O"
constexpr uint32_t kStrMenuAddFolder = 263;          // "Aggiungi &cartella...\tCTRL+D"
constexpr uint32_t kStrMenuDefragAll = 264;          // "Deframmenta tutti i file"
constexpr uint32_t kStrMenuDefragSelected = 265;     // "Deframmenta solamente i file selezionati"
