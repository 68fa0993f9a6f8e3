#!/usr/bin/env bash
# Makes the Debian package, looks at what is in it, and starts the application from its unpacked tree:
#   scripts/check-debian-package.sh [BUILD FOLDER]     build/dev without one; the programs are there already
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build="${1:-build/dev}"
work="$(mktemp -d)"
browser=""
trap '[ -z "$browser" ] || kill "$browser" 2>/dev/null || true; rm -rf "$work"' EXIT

fail() { echo "check-debian-package: $*" >&2; exit 1; }

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 || { cat "$work/log"; fail "no package is made"; }
package="$(echo "$work"/*.deb)"
tree="$work/tree"
dpkg-deb -x "$package" "$tree"

echo "== its files"
cat >"$work/wanted" <<'END'
usr/bin/korvane-browser
usr/bin/korvane-camera-server
usr/lib/systemd/system/korvane-camera-server.service
usr/lib/systemd/user/korvane-camera-server.service
usr/libexec/korvane/korvane-film-helper
usr/share/applications/korvane-browser.desktop
usr/share/doc/korvane-timeline/changelog.Debian.gz
usr/share/doc/korvane-timeline/changelog.gz
usr/share/doc/korvane-timeline/copyright
usr/share/icons/hicolor/256x256/apps/korvane-browser.png
usr/share/icons/hicolor/scalable/apps/korvane-browser.svg
usr/share/man/man1/korvane-browser.1.gz
usr/share/man/man1/korvane-camera-server.1.gz
END
(cd "$tree" && find . -type f -printf '%P\n' | LC_ALL=C sort) | diff "$work/wanted" - || fail "its files are others"

echo "== what it depends on"
# What is linked is found by itself; QML modules are loaded by name.
depends=", $(dpkg-deb -f "$package" Depends),"
while read -r module; do
  name="qml6-module-$(tr 'A-Z.' 'a-z-' <<<"$module")"
  [[ "$depends" == *", $name,"* ]] || fail "$module is imported, but $name is no dependency"
done < <(grep -rhoP --include='*.qml' '^import \KQt[A-Za-z.]+' apps calendar toolkit views | sort -u)
for library in libqt6quick6 libsdl2-2.0-0 libavformat; do
  [[ "$depends" == *", $library"* ]] || fail "$library is linked, but no dependency"
done

echo "== its description"
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$tree/usr/share/applications/korvane-browser.desktop" || fail "the desktop entry is not valid"
fi
if command -v systemd-analyze >/dev/null; then
  install -d -m 700 "$work/runtime"
  # The programs and the manual are not installed here.
  for manager in user system; do
    said="$(XDG_RUNTIME_DIR="$work/runtime" systemd-analyze verify --$manager "$tree/usr/lib/systemd/$manager"/*.service 2>&1 |
      grep -v -e "Command korvane-camera-server is not executable" -e "Command 'man korvane-camera-server(1)' failed" || true)"
    [ -z "$said" ] || fail "the unit of the $manager is not valid: $said"
  done
fi

echo "== a start"
mkdir "$work/films"
ffmpeg -v error -f lavfi -i color=gray:s=320x180:r=10:d=12 -f lavfi -i color=white:s=60x60:r=10:d=12 \
  -filter_complex "[0][1]overlay=x='40*t':y=60:enable='between(t,3,6)'" -pix_fmt yuv420p "$work/films/20261118_070000.mp4"
export HOME="$work" XDG_CONFIG_HOME="$work" XDG_CACHE_HOME="$work/cache" XDG_RUNTIME_DIR="$work/runtime"
export QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software QT_LOGGING_RULES=korvane.startup.info=true
install -d -m 700 "$work/runtime"
mkfifo "$work/said"
"$tree/usr/bin/korvane-browser" "$work/films" 2>"$work/said" &
browser=$!
exec 3<"$work/said"
line=""
until [ "$line" = "korvane.startup: filled" ]; do
  IFS= read -r -t 60 line <&3 || fail "the application shows no event"
  case "$line" in korvane.startup:*) ;; *) fail "the application says: $line" ;; esac
done
kill "$browser"; wait "$browser" 2>/dev/null || true
browser=""
"$tree/usr/bin/korvane-camera-server" token --folder "$work/films" >/dev/null
echo "check-debian-package: the package is fine"
