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

// Runs: error texts, report, status bar, summary and shutdown dialogs.
constexpr uint32_t kStrNoContiguousRun = 147;     // "Non esistono cluster contigui sufficienti ..."
constexpr uint32_t kStrNoResources = 149;         // "Risorse di sistema insufficienti ..."
constexpr uint32_t kStrReportHeader = 292;        // "Rapporto di analisi di Ordalis creato il:"
constexpr uint32_t kStrReportStatistics = 293;    // "Statistiche sui file"
constexpr uint32_t kStrReportTotalAnalysed = 182; // "File totali analizzati"
constexpr uint32_t kStrReportFragmented = 177;    // "File frammentati"
constexpr uint32_t kStrReportContiguous = 178;    // "File contigui"
constexpr uint32_t kStrReportNotAnalysed = 179;   // "File non analizzati a causa di errori"
constexpr uint32_t kStrReportFragmentedList = 231;  // "Elenco dei file frammentati:"
constexpr uint32_t kStrReportNoFragmented = 12;   // "Non sono presenti file frammentati."
constexpr uint32_t kStrReportFragments = 9;       // "Frammenti"
constexpr uint32_t kStrReportClusters = 252;      // "Cluster"
constexpr uint32_t kStrReportSize = 10;           // "Dimensione"
constexpr uint32_t kStrReportSizeOnDisk = 253;    // "Dimensione su disco"
constexpr uint32_t kStrReportPercent = 275;       // "% su disco"
constexpr uint32_t kStrReportName = 27;           // "Nome"
constexpr uint32_t kStrReportErrorList = 232;     // "Elenco dei file non analizzati:"
constexpr uint32_t kStrReportNoErrors = 145;      // "Non sono presenti file non analizzati."
constexpr uint32_t kStrReportFile = 128;          // "File"
constexpr uint32_t kStrReportError = 129;         // "Errore"
constexpr uint32_t kStrReportSaved = 291;         // "Report salvato correttamente."
constexpr uint32_t kStrStatusWaiting = 319;       // "In attesa"
constexpr uint32_t kStrStatusProcessed = 320;     // "Totale file elaborati: "
constexpr uint32_t kStrStatusItemCount = 321;     // "Oggetti totali in elenco: "
constexpr uint32_t kStrStatusPleaseWait = 322;    // "Attendere che l'operazione in corso sia terminata..."
constexpr uint32_t kStrSummaryTitle = 323;        // "Riepilogo"
constexpr uint32_t kStrSummaryProcessed = 324;    // "File elaborati:"
constexpr uint32_t kStrSummaryFragmented = 325;   // "File frammentati:"
constexpr uint32_t kStrSummaryNotFragmented = 326;  // "File non frammentati:"
constexpr uint32_t kStrSummaryDefragmented = 327; // "File deframmentati:"
constexpr uint32_t kStrSummaryErrors = 328;       // "Errori:"
constexpr uint32_t kStrShutdownTitle = 329;       // "Arresto del sistema"
constexpr uint32_t kStrShutdownText = 330;        // "Il computer verrà spento tra pochi secondi."
constexpr uint32_t kStrCancel = 331;              // "Annulla"
constexpr uint32_t kStrReportFileKind = 332;      // "File di testo (*.txt)"
