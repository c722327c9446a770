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
