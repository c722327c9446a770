; Ordalis's own part of the installer that CPack makes: the Explorer entries
; as a section the user may leave out, the size shown in the list of
; installed programs, and an uninstaller that asks before it takes the
; user's own files. The installer is a 64-bit program: all it writes goes
; into the 64-bit view of the registry, where the 64-bit Explorer and the
; list of installed programs read it.
!include LogicLib.nsh

!define ORDALIS_UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Ordalis"

; An upgrade goes where the older version was installed (the installer
; records its folder there), also when that was not the default folder.
InstallDirRegKey HKLM "Software\The Ordalis developers\Ordalis" ""

; One Explorer verb: its label, the program's icon, and the command that
; starts the program with the option and the chosen path.
!macro OrdalisVerb CLASS VERB LABEL OPTION
  WriteRegStr HKLM "Software\Classes\${CLASS}\shell\${VERB}" "" "${LABEL}"
  WriteRegStr HKLM "Software\Classes\${CLASS}\shell\${VERB}" "Icon" "$INSTDIR\Ordalis.exe"
  WriteRegStr HKLM "Software\Classes\${CLASS}\shell\${VERB}\command" "" '"$INSTDIR\Ordalis.exe" ${OPTION} "%1"'
!macroend

!macro OrdalisRemoveExplorerEntries
  DeleteRegKey HKLM "Software\Classes\*\shell\Ordalis.Defragment"
  DeleteRegKey HKLM "Software\Classes\*\shell\Ordalis.Analyze"
  DeleteRegKey HKLM "Software\Classes\Directory\shell\Ordalis.Defragment"
  DeleteRegKey HKLM "Software\Classes\Directory\shell\Ordalis.Analyze"
  ; "Send to" belongs to the user who installed.
  SetShellVarContext current
  Delete "$SENDTO\Ordalis.lnk"
  SetShellVarContext all
!macroend

Section "Explorer entries" explorer
  !insertmacro OrdalisVerb "*" "Ordalis.Defragment" "Defragment with Ordalis" "/DEFRAG"
  !insertmacro OrdalisVerb "*" "Ordalis.Analyze" "Analyze with Ordalis" "/ANALYZE"
  !insertmacro OrdalisVerb "Directory" "Ordalis.Defragment" "Defragment with Ordalis" "/DEFRAG"
  !insertmacro OrdalisVerb "Directory" "Ordalis.Analyze" "Analyze with Ordalis" "/ANALYZE"
  SetShellVarContext current
  CreateShortCut "$SENDTO\Ordalis.lnk" "$INSTDIR\Ordalis.exe" "" "$INSTDIR\Ordalis.exe" 0
  SetShellVarContext all
SectionEnd

; At the end of the installation, once the uninstall entry exists.
!macro OrdalisInstallExtras
  ; An upgrade without the entries takes away those of the older version.
  ${IfNot} ${SectionIsSelected} ${explorer}
    !insertmacro OrdalisRemoveExplorerEntries
  ${EndIf}
  ; The size the list of installed programs shows, in KB.
  SectionGetSize ${program} $0
  WriteRegDWORD SHCTX "${ORDALIS_UNINSTALL_KEY}" "EstimatedSize" $0
!macroend

!macro OrdalisUninstallExtras
  !insertmacro OrdalisRemoveExplorerEntries
  ; The settings, the filter lists and the profiles kept beside the program
  ; are the user's, not the installer's: they go only when the user says so.
  ; A silent uninstall keeps them.
  ${If} ${FileExists} "$INSTDIR\ordalis.ini"
  ${OrIf} ${FileExists} "$INSTDIR\Exclude.ini"
  ${OrIf} ${FileExists} "$INSTDIR\Include.ini"
  ${OrIf} ${FileExists} "$INSTDIR\*.olp"
    MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 \
      "Remove your Ordalis settings, filter lists and the profiles kept in $INSTDIR as well?" \
      /SD IDNO IDNO ordalis_keep_user_files
    Delete "$INSTDIR\ordalis.ini"
    Delete "$INSTDIR\Exclude.ini"
    Delete "$INSTDIR\Include.ini"
    Delete "$INSTDIR\*.olp"
    ordalis_keep_user_files:
  ${EndIf}
!macroend
