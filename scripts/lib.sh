# Shared by scripts/run and scripts/test: the Debian packages a build needs,
# installed only when something is missing.
ordalis_packages=(cmake ninja-build g++ googletest g++-mingw-w64-x86-64-posix
  mingw-w64-tools wine64 xvfb x11-utils xdotool imagemagick
  ntfs-3g ntfs-3g-dev sleuthkit libtsk-dev clang libfuzzer-14-dev nsis strace dpkg-dev jq)

ordalis_install_missing() {
  local missing=()
  for p in "${ordalis_packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing: ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# Stops what the Windows tests left running: the persistent wineserver of the
# project's prefix and the private display.
ordalis_stop_wine() {
  local root="$1"
  WINEPREFIX="$root/build/wineprefix" /usr/lib/wine/wineserver -k 2>/dev/null || true
  pkill -f "Xvfb :77" 2>/dev/null || true
}

# Wine has no disk-check library (fmifs.dll): the test double stands in for
# the system's own in the prefix's system folder (ORDALIS_WINEPREFIX, else the
# build's prefix), the only place Ordalis.exe takes it from. The prefix is
# made on first use.
ordalis_install_system_checker() {  # the double's path
  "$root/scripts/wine-exec" cmd /c exit </dev/null >/dev/null 2>&1 || true
  cp "$1" "${ORDALIS_WINEPREFIX:-$root/build/wineprefix}/drive_c/windows/system32/fmifs.dll"
}
