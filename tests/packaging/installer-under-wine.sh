#!/bin/bash
# The installer and the uninstaller at work, silently, under Wine on a fresh
# prefix of their own (and a display of their own):
#  1. an older version is installed with /S: files, Start-menu shortcut,
#     uninstall entry (read back with reg query), Explorer entries;
#  2. the user's settings file is changed;
#  3. this version is installed over it with /S: the entry shows the new
#     version and the settings file is as the user left it;
#  4. the installed program starts: its main window comes up, and a picture
#     of the screen is saved;
#  5. the uninstaller with /S removes everything it installed, its entry,
#     the shortcut and the Explorer entries, and keeps the settings file.
# Arguments: setup.exe, CPackConfig.cmake (to make the older installer),
# the fmifs.dll test double (Wine has no fmifs.dll, so the program's
# start-up check needs it), a work folder, the screenshot folder.
set -u
setup="$1" cpack_config="$2" fmifs="$3" work="$4" shots="$5"

failures=0
checks=0
check() {  # description, command...
  local what="$1"
  shift
  checks=$((checks + 1))
  if "$@"; then
    echo "ok: $what"
  else
    echo "FAILED: $what"
    failures=$((failures + 1))
  fi
}

rm -rf "$work"
mkdir -p "$work" "$shots"
# The older version: the same build packaged under a lower version number.
cpack --config "$cpack_config" -G NSIS -D CPACK_PACKAGE_VERSION=0.99 -B "$work/older" >"$work/cpack.log" 2>&1 ||
  { echo "could not make the older installer"; cat "$work/cpack.log"; exit 1; }
older="$work/older/Ordalis-0.99-setup.exe"

export WINEPREFIX="$work/wineprefix" WINEARCH=win64 WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d;winedbg.exe=d"
wine=/usr/lib/wine/wine64
server=/usr/lib/wine/wineserver

# A display nobody else uses: the first free number from 120 on.
display=120
while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
Xvfb ":$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
export DISPLAY=":$display"
program_pid=
cleanup() {
  [ -n "$program_pid" ] && kill "$program_pid" 2>/dev/null
  "$server" -k 2>/dev/null
  kill "$xvfb_pid" 2>/dev/null
}
trap cleanup EXIT
for _ in $(seq 1 100); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

started=$SECONDS
"$wine" wineboot -i >/dev/null 2>&1
"$server" -w
echo "fresh prefix ready in $((SECONDS - started)) s"

drive_c="$WINEPREFIX/drive_c"
installed="$drive_c/Program Files/Ordalis"
programs="$drive_c/ProgramData/Microsoft/Windows/Start Menu/Programs"
shortcut="$programs/Ordalis/Ordalis.lnk"
uninstall_key='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\Ordalis'

reg_value() {  # key, value name (empty: the key's default value): its data, or nothing
  local which=(/v "$2") label="$2"
  [ -z "$2" ] && which=(/ve) label='\(Default\)'
  "$wine" reg query "$1" "${which[@]}" /reg:64 2>/dev/null | tr -d '\r' |
    sed -nE "s/^ +$label +REG_[A-Z_]+ +(.*)$/\1/p"
}
send_to_link() { ls "$drive_c"/users/*/AppData/Roaming/Microsoft/Windows/SendTo/Ordalis.lnk >/dev/null 2>&1; }
installed_files_present() {
  [ -f "$installed/Ordalis.exe" ] && [ -f "$installed/lang/Ordalis_EN.lng" ] && [ -f "$installed/ReadMe.txt" ] &&
    [ -f "$installed/License.txt" ] && [ -f "$installed/Uninstall.exe" ]
}
verb_command() { reg_value "HKLM\\Software\\Classes\\$1\\shell\\$2\\command" ""; }
equals() { [ "$1" = "$2" ] || { echo "   got \"$1\", expected \"$2\""; return 1; }; }

# 1. The older version, silently.
step=$SECONDS
"$wine" "$older" /S
"$server" -w
echo "older version installed in $((SECONDS - step)) s"
check "the program, lang\\, the read-me, the licence and the uninstaller are under Program Files" installed_files_present
check "no test double and no simulating program were installed" \
  bash -c '! ls "$0" | grep -qi -e fmifs -e ordalis-sim' "$installed"
check "the Start-menu shortcut exists" test -f "$shortcut"
check "the uninstall entry has the name" equals "$(reg_value "$uninstall_key" DisplayName)" "Ordalis"
check "the uninstall entry has the older version" equals "$(reg_value "$uninstall_key" DisplayVersion)" "0.99"
check "the uninstall entry has the publisher" equals "$(reg_value "$uninstall_key" Publisher)" "The Ordalis developers"
check "the uninstall entry has the icon" equals "$(reg_value "$uninstall_key" DisplayIcon)" 'C:\Program Files\Ordalis\Ordalis.exe'
size=$(reg_value "$uninstall_key" EstimatedSize)
check "the uninstall entry has a size of more than 1000 KB ($size)" test "$((size))" -gt 1000
check "the uninstall entry starts the uninstaller" \
  equals "$(reg_value "$uninstall_key" UninstallString)" '"C:\Program Files\Ordalis\Uninstall.exe"'
check "files: \"Defragment with Ordalis\"" \
  equals "$(verb_command '*' Ordalis.Defragment)" '"C:\Program Files\Ordalis\Ordalis.exe" /DEFRAG "%1"'
check "files: \"Analyze with Ordalis\"" \
  equals "$(verb_command '*' Ordalis.Analyze)" '"C:\Program Files\Ordalis\Ordalis.exe" /ANALYZE "%1"'
check "folders: \"Defragment with Ordalis\"" \
  equals "$(verb_command Directory Ordalis.Defragment)" '"C:\Program Files\Ordalis\Ordalis.exe" /DEFRAG "%1"'
check "folders: \"Analyze with Ordalis\" is labelled" \
  equals "$(reg_value 'HKLM\Software\Classes\Directory\shell\Ordalis.Analyze' '')" "Analyze with Ordalis"
check "the \"Send to\" entry exists" send_to_link

# 2. The user's own files beside the program.
printf 'RX1.00\r\nONTOP=1\r\nFULLROW=1\r\n' >"$installed/ordalis.ini"
printf 'M*.tmp\r\n' >"$installed/Exclude.ini"
printf 'KV70RX\r\nC:\\lavoro\r\n' >"$installed/lavoro.olp"
cp "$installed/ordalis.ini" "$work/ordalis.ini.before"

# 3. This version over it, silently.
step=$SECONDS
"$wine" "$setup" /S
"$server" -w
echo "upgrade installed in $((SECONDS - step)) s"
check "after the upgrade the entry shows this version" \
  equals "$(reg_value "$uninstall_key" DisplayVersion)" "$(basename "$setup" | sed -E 's/^Ordalis-(.*)-setup\.exe$/\1/')"
check "the upgrade kept the changed ordalis.ini byte for byte" cmp -s "$installed/ordalis.ini" "$work/ordalis.ini.before"
check "the upgrade kept the filter file and the profile" test -f "$installed/Exclude.ini" -a -f "$installed/lavoro.olp"
check "the upgrade left the program in place" installed_files_present
check "one Start-menu folder after the upgrade, with the program and the uninstaller" \
  equals "$(cd "$programs" && ls -d Ordalis* && ls Ordalis*/)" "$(printf 'Ordalis\nOrdalis.lnk\nUninstall.lnk')"

# 4. The installed program starts. The settings file is set aside meanwhile,
# so that what the program writes at its end does not touch the user's.
cp "$fmifs" "$installed/fmifs.dll"
mv "$installed/ordalis.ini" "$work/ordalis.ini.kept"
"$wine" "C:\\Program Files\\Ordalis\\Ordalis.exe" /LANG:IT /NOINI >/dev/null 2>&1 &
program_pid=$!
window=$(timeout 60 xdotool search --sync --onlyvisible --name '^Ordalis$' 2>/dev/null | head -1)
check "the installed program's main window came up" test -n "$window"
if [ -n "$window" ]; then
  sleep 1  # let it paint
  import -window root "$shots/installed_program.png" && echo "picture: $shots/installed_program.png"
  xdotool windowclose "$window" 2>/dev/null || true
fi
kill "$program_pid" 2>/dev/null
wait "$program_pid" 2>/dev/null
program_pid=
"$server" -w
rm -f "$installed/fmifs.dll"
mv "$work/ordalis.ini.kept" "$installed/ordalis.ini"

# 5. The uninstaller, silently. It copies itself away and runs from there,
# so the wait is for every process of the prefix.
step=$SECONDS
"$wine" "C:\\Program Files\\Ordalis\\Uninstall.exe" /S
"$server" -w
echo "uninstalled in $((SECONDS - step)) s"
left=$(cd "$installed" 2>/dev/null && find . -type f | sort | tr '\n' ' ')
check "the uninstaller removed everything it installed, and kept the user's files" \
  equals "$left" "./Exclude.ini ./lavoro.olp ./ordalis.ini "
check "the uninstall entry is gone" bash -c '! "$0" reg query "$1" /reg:64 >/dev/null 2>&1' "$wine" "$uninstall_key"
check "the Start-menu folder is gone" equals "$(cd "$programs" && ls -d Ordalis* 2>/dev/null)" ""
check "the Explorer entries are gone" bash -c '! "$0" reg query "HKLM\Software\Classes\*\shell\Ordalis.Defragment" /reg:64 >/dev/null 2>&1 &&
  ! "$0" reg query "HKLM\Software\Classes\Directory\shell\Ordalis.Analyze" /reg:64 >/dev/null 2>&1' "$wine"
check "the \"Send to\" entry is gone" bash -c '! ls "$0"/users/*/AppData/Roaming/Microsoft/Windows/SendTo/Ordalis.lnk >/dev/null 2>&1' "$drive_c"

echo "$((checks - failures)) of $checks checks passed in $((SECONDS - started)) s"
[ "$failures" -eq 0 ] || exit 1
# A prefix takes hundreds of megabytes: it is kept only to look into a failure.
cleanup
trap - EXIT
rm -rf "$WINEPREFIX" "$work/older"
