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

// ---- Filters and profiles ----
constexpr uint32_t kStrProfileSaved = 118;        // "Profilo salvato correttamente."
constexpr uint32_t kStrNotAProfile = 125;         // "Il file '%s' non è un profilo di Ordalis valido."
constexpr uint32_t kStrProfileMissing = 126;      // "Il profilo specificato sulla riga di comando non esiste."
constexpr uint32_t kStrImportTitle = 119;         // "Importazione profilo"
constexpr uint32_t kStrImportListNotEmpty = 120;  // "L'elenco dei file non è vuoto"
constexpr uint32_t kStrImportNote = 121;          // "Fare clic su Aggiungi per ..."
constexpr uint32_t kStrImportAdd = 122;           // "Aggi&ungi"
constexpr uint32_t kStrImportReplace = 123;       // "&Sostituisci"
constexpr uint32_t kStrDialogCancel = 124;              // "Annulla"
constexpr uint32_t kStrProfileFilter = 127;       // "Profilo di Ordalis (*.olp)|*.olp|Tutti i file (*.*)|*.*|"
constexpr uint32_t kStrOpenProfile = 128;         // "Apri profilo"
constexpr uint32_t kStrSaveProfile = 129;         // "Salva profilo"
constexpr uint32_t kStrMissingTitle = 130;        // "Elementi non trovati"
constexpr uint32_t kStrMissingLabel = 131;        // "I seguenti elementi del profilo non esistono più:"
constexpr uint32_t kStrKindFile = 132;            // "File"
constexpr uint32_t kStrKindFolder = 133;          // "Cartella"
constexpr uint32_t kStrRecentTitle = 134;         // "Elenco profili recenti"
constexpr uint32_t kStrRecentCount = 135;         // "Numero massimo di profili recenti:"
constexpr uint32_t kStrRecentRemoveMissing = 136; // "Rimuovi dall'elenco i profili che non esistono più"
constexpr uint32_t kStrFilterTitle = 138;         // "Filtro"
constexpr uint32_t kStrFilterExcludedTab = 139;   // "Elementi da escludere"
constexpr uint32_t kStrFilterIncludedTab = 140;   // "Elementi da includere"
constexpr uint32_t kStrFilterAddFiles = 141;      // "Aggiungi &file..."
constexpr uint32_t kStrFilterAddMasks = 142;      // "Aggiungi &maschera..."
constexpr uint32_t kStrFilterRemove = 143;        // "&Rimuovi"
constexpr uint32_t kStrFilterSizeCheck = 144;     // "&Non elaborare file di dimensioni maggiori di (in KB):"
constexpr uint32_t kStrFilterMaskLabel = 150;     // "Maschera da aggiungere:"
constexpr uint32_t kStrFilterAddIncluded = 151;   // "&Aggiungi"
constexpr uint32_t kStrAllFilesFilter = 152;      // "Tutti i file (*.*)|*.*|"
constexpr uint32_t kStrChooseFiles = 153;         // "Seleziona file"
constexpr uint32_t kStrMaskInputTitle = 154;      // "Aggiungi maschera"
constexpr uint32_t kStrMaskInputLabel = 155;      // "Maschere da escludere (separate da \";\"):"
constexpr uint32_t kStrDialogOk = 156;                  // "OK"
constexpr uint32_t kStrKindColumn = 157;          // "Tipo"
constexpr uint32_t kStrPathColumn = 158;          // "Percorso"
constexpr uint32_t kStrExcludedOneAdded = 374;    // "Oggetto aggiunto all'elenco degli elementi da escludere."
constexpr uint32_t kStrExcludedManyAdded = 375;   // "Oggetti aggiunti all'elenco degli elementi da escludere."
constexpr uint32_t kStrExcludedAlready = 376;     // "L'oggetto o gli oggetti selezionati sono già presenti ..."
constexpr uint32_t kStrBadMaskTitle = 404;        // "Carattere non valido"
constexpr uint32_t kStrBadMaskText = 419;         // "Le maschere non possono contenere i seguenti caratteri:"
constexpr uint32_t kStrDuplicateMasksTitle = 465; // "Maschere duplicate"
constexpr uint32_t kStrDuplicateMasksText = 466;  // "Una o più maschere sono specificate ..."
constexpr uint32_t kStrDuplicateMasksClose = 467; // "&Chiudi comunque"
constexpr uint32_t kStrDuplicateMasksEdit = 468;  // "&Modifica maschere"
