#!/bin/sh
# `cmake --install` into a fresh prefix gives a bundle that runs from there: the menu entry and
# the icon are in place, and velmora-cli lists the voices of the installed provider, which the
# session bus starts from the service file in the prefix alone.
# Usage: install_test.sh CMAKE BUILD_DIR
set -eu
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
"$1" --install "$2" --prefix "$prefix" >/dev/null

fail() { echo "FAIL: $*"; exit 1; }
entry=$prefix/share/applications/com.tarvenholt.Velmora.desktop
service=$prefix/share/dbus-1/services/com.tarvenholt.Velmora.Speech.Provider.service
[ -f "$prefix/share/icons/hicolor/256x256/apps/com.tarvenholt.Velmora.png" ] || fail "no icon"
grep -qx "Exec=$prefix/lib/Velmora/velmora" "$entry" || fail "the menu entry does not start the installed window"
grep -qx "Exec=$prefix/lib/Velmora/PlugIns/VelmoraVoice.appex/VelmoraVoice" "$service" ||
  fail "the service does not start the installed provider"
[ -x "$prefix/bin/velmora" ] && [ -f "$prefix/lib/Velmora/Resources/velmora.entitlements" ] || fail "no bundle"

# A session bus that activates services from the prefix alone.
printf '%s\n' '<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>' \
  "<servicedir>$prefix/share/dbus-1/services</servicedir>" \
  '<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>' \
  '<allow own="*"/></policy></busconfig>' >"$prefix/session.conf"
voices=$(VELMORA_APP_GROUPS_ROOT="$prefix/groups" dbus-run-session --config-file="$prefix/session.conf" -- \
  "$prefix/bin/velmora-cli" voices 2>/dev/null) || fail "velmora-cli voices ended with status $?"
echo "$voices" | grep -q "com.tarvenholt.Velmora.voice.ios4.en-US.Samantha" || fail "no voices: $voices"
echo "ok: $(echo "$voices" | grep -c 'com.tarvenholt') voices from $prefix"
