#!/bin/bash
# ntfs-deb-fresh-root.sh DEB SAMPLE_IMAGE_TOOL VERSION WORK
# Unpacks the package into an empty root, checks what it holds and declares,
# and runs the unpacked program on a small fragmented image: --version, and
# --plan, which must leave the image as it was.
set -u
deb=$1 sample=$2 version=$3 work=$4
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

[ -f "$deb" ] || { echo "FAIL: no package $deb"; exit 1; }
case "$(basename "$deb")" in
  ordalis-ntfs_${version}_*.deb) ;;
  *) fail "package name $(basename "$deb")" ;;
esac
rm -rf "$work" && mkdir -p "$work/root"
dpkg -x "$deb" "$work/root" || { echo "FAIL: dpkg -x"; exit 1; }
root=$work/root
for f in usr/bin/ordalis-ntfs usr/share/man/man1/ordalis-ntfs.1.gz usr/share/doc/ordalis-ntfs/copyright; do
  [ -f "$root/$f" ] || fail "missing /$f"
done
extra=$(cd "$root" && find . -type f | grep -v -e '^./usr/bin/ordalis-ntfs$' -e '^./usr/share/man/man1/ordalis-ntfs.1.gz$' \
  -e '^./usr/share/doc/ordalis-ntfs/copyright$')
[ -z "$extra" ] || fail "files nobody asked for: $extra"
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
echo "$depends" | grep -q 'libntfs-3g' || fail "no dependency on libntfs-3g"
grep -q '^License: MIT' "$root/usr/share/doc/ordalis-ntfs/copyright" || fail "copyright file"
if command -v man >/dev/null; then
  man -l "$root/usr/share/man/man1/ordalis-ntfs.1.gz" 2>&1 | grep -q 'EXIT STATUS' || fail "man page does not render"
fi

program=$root/usr/bin/ordalis-ntfs
out=$("$program" --version) || fail "--version exit $?"
[ "$(echo "$out" | head -1)" = "ordalis-ntfs $version" ] || fail "--version said: $out"

image=$work/small.img
"$sample" "$image" 3 >/dev/null || { echo "FAIL: no sample image"; exit 1; }
before=$(sha256sum < "$image")
out=$("$program" --plan "$image" / 2>&1)
code=$?
[ $code -eq 0 ] || fail "--plan exit $code: $out"
echo "$out" | grep -q ' -> clusters ' || fail "--plan placed nothing: $out"
[ "$(sha256sum < "$image")" = "$before" ] || fail "--plan changed the image"
rm -rf "$work"
[ $failures -eq 0 ] && echo "package: $(basename "$deb") unpacked, --version and --plan ran from it"
exit $((failures > 0))
