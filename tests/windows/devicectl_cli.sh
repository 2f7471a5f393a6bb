#!/usr/bin/env bash
# devicectl.exe under Wine, as a person types it: answers on stdout, status on stderr, exit codes.
set -uo pipefail
root=${QV_ROOT:?}
err=$(mktemp)
bin=$root/build/mingw/bin
QV_WINEPREFIX_DIR=${QV_WINEPREFIX:-$root/build/wine/prefix}
run() { "$root/scripts/wine-run" devicectl.exe "$@"; }
# A path of this machine as Wine shows it (drive Z: is the root).
windows_path() { printf 'Z:%s' "${1//\//\\}"; }
passed=0
failures=0
check() {  # check NAME EXPECTED ACTUAL
  if [ "$2" == "$3" ]; then
    echo "ok   $1"; passed=$((passed + 1))
  else
    echo "FAIL $1: expected [$2], got [$3]"; failures=$((failures + 1))
  fi
}

out=$(run call 14 '{}' 2>"$err"); rc=$?
check "unsupported number prints {}" "{}" "$out"
check "unsupported number exits 1" 1 "$rc"
check "unsupported number status line" "status: 0x20000001 unsupported function number" "$(cat "$err")"

out=$(run call 1 '{' 2>"$err"); rc=$?
check "malformed JSON prints nothing" "" "$out"
check "malformed JSON exits 1" 1 "$rc"
check "malformed JSON status line" "status: 0x20000003 input is not valid JSON" "$(cat "$err")"

out=$(run call 14 '["\uDC00"]' 2>"$err"); rc=$?
check "lone low surrogate escape prints nothing" "" "$out"
check "lone low surrogate escape status line" "status: 0x20000003 input is not valid JSON" "$(cat "$err")"

run call NoSuchCommand >/dev/null 2>&1; check "unknown name is a usage error" 2 "$?"
run call GetBrightness >/dev/null 2>&1; check "ambiguous operation is a usage error" 2 "$?"
run --dll 'C:\\missing.dll' call 14 >/dev/null 2>&1; check "missing module is reported" 2 "$?"
check "commands lists the table" 57 "$(run commands | wc -l)"

# Mouse settings through the installed module and its test-signed tool (scripts/wine-install).
check "set mouse speed" '{"result":true}' "$(run call Accessory.SetMouseSpeed '{"IValue":15}')"
check "read it back" '{"result":15}' "$(run call 91)"
check "speed 21 is refused" 1 "$(run call 92 '{"IValue":21}' >/dev/null 2>&1; echo $?)"
check "speed 3 by operation name" '{"result":true}' "$(run call SetMouseSpeed '{"IValue":3}')"
check "and read back" '{"result":3}' "$(run call GetMouseSpeed)"
swapped() { "$root/scripts/wine-run" 'C:\Program Files\DeviceControl\DeviceControlTool.exe' Accessory GetMouseSwapStatus '' | tr -d '\r'; }
before=$(swapped)
check "swap buttons" '{"result":true}' "$(run call 93)"
after=$(swapped)
check "the swap state flipped" "$((1 - before))" "$after"
run call 93 >/dev/null
check "and flips back" "$before" "$(swapped)"
tool() { "$root/scripts/wine-run" 'C:\Program Files\DeviceControl\DeviceControlTool.exe' "$@" | tr -d '\r'; }
check "tool: unknown area" "-1" "$(tool Webcam GetZoom '')"
check "tool: unknown function" "-1" "$(tool Accessory SetZoom '5')"
check "tool: wrong argument" "-1" "$(tool Accessory SetMouseSpeed 'fast')"
check "tool: missing argument" "-1" "$(tool Accessory GetMouseSpeed)"

# Toasts: the per-user setting, changed by the signed tool as the user, and read back.
check "toasts off" '{"result":true}' "$(run call Notification.SetToastOnOff '{"BValue":false}')"
check "read back off" '{"result":false}' "$(run call 121)"
check "in the user's registry" "0x0" "$(WINEPREFIX=$QV_WINEPREFIX_DIR wine reg query 'HKCU\Software\Microsoft\Windows\CurrentVersion\PushNotifications' /v ToastEnabled 2>/dev/null | tr -d '\r' | awk '/ToastEnabled/ {print $3}')"
check "toasts on" '{"result":true}' "$(run call 122 '{"BValue":true}')"
check "read back on" '{"result":true}' "$(run call GetToastOnOff)"
check "BValue must be a boolean" 1 "$(run call 122 '{"BValue":1}' >/dev/null 2>&1; echo $?)"

# The camera through the real tool: Wine has no camera, so the tool says so.
check "camera: none" '{"result":false}' "$(run call Camera.IsCameraSupported)"
check "camera: zoom not offered" '{"result":false}' "$(run call 1)"
check "camera: zoom unreadable" '{"result":-1}' "$(run call 2)"
check "camera: brightness unreadable" '{"result":-1}' "$(run call 10)"
check "camera: setting zoom fails" '{"result":false}' "$(run call 3 '{"IValue":150}')"
cam_log="$QV_WINEPREFIX_DIR/drive_c/devicectl-camera.log"
rm -f "$cam_log"
check "camera switch without a camera" '{"result":false}' "$(run --log 'C:\devicectl-camera.log' call 12 '{"BValue":true}')"
check "camera switch logs why" 1 "$(tr -d '\0' < "$cam_log" | grep -c 'CameraHelper::SetCameraOnOff Camera not supported on this device')"
check "camera: BValue is required" 1 "$(run call 12 '{}' >/dev/null 2>&1; echo $?)"

# Applications: the document's text in the service's temporary folder (here the Wine user's),
# handed to the real tool, which copies it to the user's own temporary folder and opens the copy.
# Wine's prefix has no editor for .txt, so the tool answers -1 and removes its copy; the service
# removes its file once the tool has answered. (The UTF-8 bytes are checked natively.)
doc="$QV_WINEPREFIX_DIR/drive_c/users/$(id -un)/Temp/WrenServiceTemp.txt"
rm -f "$doc"
doc_log="$QV_WINEPREFIX_DIR/drive_c/devicectl-doc.log"
rm -f "$doc_log"
check "write to doc" '{"result":false}' "$(run --log 'C:\devicectl-doc.log' call Application.WriteToDoc '{"SValue":"Grüße €"}')"
check "the service's document is removed" "" "$(ls "$doc" 2>/dev/null)"
check "no copy is left behind" "" "$(ls "$(dirname "$doc")"/WrenServiceTemp-*.txt 2>/dev/null)"
check "the signed tool ran for it" 1 "$(tr -d '\0' < "$doc_log" | grep -c 'Attempting to impersonate logged in user.')"
check "open an unknown application" '{"result":false}' "$(run call 21 '{"SValue":"No Such Application"}')"
check "close an unknown application" '{"result":false}' "$(run call 22 '{"SValue":"No Such Application"}')"
check "SValue is required" 1 "$(run call 23 '{"SValue":5}' >/dev/null 2>&1; echo $?)"

# What the module sees of the machine.
info=$(run info)
check "info: the processor" 1 "$(grep -c '^processor: *[^ (]' <<<"$info")"
check "info: the installed memory" 1 "$(grep -c '^installed memory: [1-9][0-9]* bytes' <<<"$info")"

# The companion launch: Wine's board is in no list and its firmware cannot be asked.
launch=$(run launch-status start); rc=$?
check "launch-status exits 0" 0 "$rc"
check "launch-status: the firmware" 1 "$(grep -c '^feature byte: *(the firmware cannot be asked)' <<<"$launch")"
check "launch-status: the board is not listed" 1 "$(grep -c '^board: .*(not listed)$' <<<"$launch")"
check "launch-status: no wait was armed" "wait:              none" "$(grep '^wait:' <<<"$launch")"
check "launch-status: the verdict" \
  "verdict:           not started: this machine has neither the feature byte nor a listed board" \
  "$(grep '^verdict:' <<<"$launch")"
run launch-status now >/dev/null 2>&1; check "launch-status takes only start" 2 "$?"

# Every readable setting in one table: a line per getter, the module's answer on each.
status=$(run status); rc=$?
check "status exits 0" 0 "$rc"
check "status: the header" "no.  getter                               request          answer" "$(head -1 <<<"$status")"
check "status: a line per getter" 31 "$(grep -c '^[0-9]' <<<"$status")"
check "status: the mouse speed from the tool" 1 "$(grep -Ec '^91 +Accessory.GetMouseSpeed +[0-9]+$' <<<"$status")"
check "status: both endpoint lists" 2 "$(grep -Ec '^41 +Audio.GetAudioDeviceList +\{"dataFlow":[01]\} +\{"(Render|Capture)DeviceList":' <<<"$status")"
run status now >/dev/null 2>&1; check "status takes no arguments" 2 "$?"

# This machine recorded through the real module and replayed by the simulated one: the same table.
work=$(mktemp -d)
recorded=$(windows_path "$work/recorded.json")
simulator=$(windows_path "$bin/DeviceControlSimulator.dll")
real=$(run status 2>/dev/null)
out=$(run record "$recorded" 2>/dev/null); rc=$?
check "record exits 0" 0 "$rc"
check "record: what it wrote" "recorded 31 getters into $recorded" "$out"
check "record: the camera Wine lacks" 1 "$(grep -c '"camera": null' "$work/recorded.json")"
run --dll "$simulator" --profile "$recorded" status >"$work/replayed.txt" 2>/dev/null; rc=$?
check "the simulated module with the recording exits 0" 0 "$rc"
check "the simulated module answers as the real one" "" "$(diff <(cat <<<"$real") "$work/replayed.txt")"
printf '{"name":"x","display":{"library":{"contrast":120}}}' >"$work/broken.json"
out=$(run --dll "$simulator" --profile "$(windows_path "$work/broken.json")" status 2>&1 | grep -v '^ALSA'); rc=$?
check "a broken profile keeps the simulated module from loading" 1 "$(grep -c 'the profile .* is refused: /display/library/contrast: 120 is above the maximum 100' <<<"$out")"
rm -rf "$work"

# Device status events through devicectl.exe subscribe.
out=$(run subscribe 1002 --threshold 0 --for 1 2>&1)
check "subscribe: one low-memory event" 1 "$(grep -c '^event: {"eventId":1002,"memoryInUse":[0-9]*}$' <<<"$out")"
check "subscribe: 32 stops it" 1 "$(grep -c '^32: {"result":11}$' <<<"$out")"
check "subscribe: then 31 answers 1" 1 "$(grep -c '^31: {"result":1}$' <<<"$out")"
out=$(run subscribe 1001 --for 1 2>&1); rc=$?
check "subscribe 1001 without a power manager" "status: 0x20000002 general failure" "$(grep '^status' <<<"$out")"
check "subscribe 1001 exits 1" 1 "$rc"
run subscribe 1002 --memory-load 50 >/dev/null 2>&1; check "--memory-load is for the native build" 2 "$?"

# The same module beside an unsigned tool: nothing runs, the answers say so.
unsigned="$QV_WINEPREFIX_DIR/drive_c/Program Files/DeviceControlUnsigned"
mkdir -p "$unsigned"
cp "$bin/DeviceControlService.dll" "$unsigned/"
cp "$bin/DeviceControlTool.exe" "$unsigned/"
log="$QV_WINEPREFIX_DIR/drive_c/devicectl-unsigned.log"
rm -f "$log"
u() { run --dll 'C:\Program Files\DeviceControlUnsigned\DeviceControlService.dll' --log 'C:\devicectl-unsigned.log' "$@"; }
check "unsigned tool: set answers false" '{"result":false}' "$(u call 92 '{"IValue":12}')"
check "unsigned tool: get answers -1" '{"result":-1}' "$(u call 91)"
check "unsigned tool: swap answers false" '{"result":false}' "$(u call 93)"
check "unsigned tool: the speed did not change" '{"result":3}' "$(run call 91)"
check "unsigned tool: nothing was started" 0 "$(grep -c 'Attempting to impersonate' "$log")"
check "unsigned tool: no trusted signer" 0 "$(grep -c 'trusted by Fusion = true' "$log")"
# Audio through Wine's PulseAudio driver (scripts/pulse: a null sink and a null source). Wine
# lists the endpoints through Core Audio (it has no device enumeration class), names its own
# "PulseAudio" endpoint, which follows PulseAudio's default sink, the default, and keeps the
# endpoint volume on each opened control rather than in PulseAudio (see the README).
# The signed client manifest: the example manifest signed at build time with the test key, beside
# a client in a folder only administrators can write; then changed by one byte; then in a folder
# its user can write.
manifests=$root/build/mingw/manifest-test
fennel="$QV_WINEPREFIX_DIR/drive_c/Program Files/Fennel"
mkdir -p "$fennel"
cp "$manifests/QVManifest.xml" "$fennel/QVManifest.xml"
cp "$manifests/signing.p7s" "$fennel/QVManifest.p7s"
out=$(run manifest check 'C:\Program Files\Fennel\Fennel.exe' Accessory.SetMouseSpeed '{"IValue":15}'); rc=$?
check "manifest: a signed manifest allows a request its rules allow" "manifest:   verified, signed through QVManifest.p7s
verdict:    allowed
decided by: command 92: IValue by numeric_range" "$out"
check "manifest: allowed exits 0" 0 "$rc"
out=$(run manifest check 'C:\Program Files\Fennel' 92 '{"IValue":21}'); rc=$?
check "manifest: and refuses one beyond its bound" "decided by: command 92: IValue refused by numeric_range" "$(tail -1 <<<"$out")"
check "manifest: refused exits 1" 1 "$rc"
sed -i 's|<Max>20</Max>|<Max>90</Max>|' "$fennel/QVManifest.xml"
out=$(run manifest check 'C:\Program Files\Fennel\Fennel.exe' 92 '{"IValue":15}'); rc=$?
check "manifest: one byte changed after signing is refused" \
  "manifest:   refused: QVManifest.p7s is not a valid signature of it (0x80091007)" "$out"
check "manifest: and exits 1" 1 "$rc"
public="$QV_WINEPREFIX_DIR/drive_c/users/Public/Fennel"
mkdir -p "$public"
cp "$manifests/QVManifest.xml" "$public/QVManifest.xml"
cp "$manifests/signing.p7s" "$public/QVManifest.p7s"
out=$(run manifest check 'C:\users\Public\Fennel\Fennel.exe' 92 '{"IValue":15}')
check "manifest: a signed manifest in a folder its user can write is refused" \
  "manifest:   refused: QVManifest.xml is in a folder its user can write: C:\users\Public\Fennel\QVManifest.xml" "$out"
rm -rf "$fennel" "$public"

if [ -n "${PULSE_SERVER:-}" ]; then
  list=$(run call 41 '{"dataFlow":0}')
  check "playback list holds the null sink" 1 "$(grep -c '"name":"Null-Output","description":"Null-Output"' <<<"$list")"
  check "exactly one playback default" 1 "$(grep -o '"isDefaultDevice":true' <<<"$list" | wc -l)"
  check "playback ids are the device interface form" 1 \
    "$(grep -c '"swdMMDevApiId":"\\\\\\\\?\\\\SWD#MMDEVAPI#{0.0.0.00000000}' <<<"$list")"
  check "the default alone" 1 "$(run call 41 '{"dataFlow":1,"filterDefault":true}' | grep -c '^{"result":{"name":"PulseAudio",.*"isDefaultDevice":true}}$')"
  check "recording list holds the null source" 1 "$(run call 41 '{"dataFlow":1}' | grep -c '"name":"Null-Input"')"
  check "mute state is a boolean" 1 "$(run call 42 '{"dataFlow":0}' | grep -Ec '^\{"result":(true|false)\}$')"
  check "mute answers true" '{"result":true}' "$(run call 43 '{"dataFlow":1,"enable":true}')"
  check "volume is a percentage" 1 "$(run call 44 '{"dataFlow":0}' | grep -Ec '^\{"result":([0-9]|[1-9][0-9]|100)\}$')"
  check "bad data flow" "status: 0x20000006 the request failed the argument check" "$(run call 44 '{"dataFlow":2}' 2>&1 >/dev/null)"
  audio_log="$QV_WINEPREFIX_DIR/drive_c/devicectl-audio.log"
  rm -f "$audio_log"
  check "noise control without either vendor" '{"result":false}' \
    "$(run --log 'C:\devicectl-audio.log' call 46 '{"dataFlow":0,"enable":true}')"
  check "noise control took the module path and says why" 1 \
    "$(tr -d '\0' < "$audio_log" | grep -c 'AudioDeviceModulesManager) with HRESULT 0x80040154')"
  shown=$(run audio); rc=$?
  check "devicectl audio exits 0" 0 "$rc"
  check "devicectl audio marks Wine's endpoint the default of both flows" 2 "$(grep -c '^  \* PulseAudio  (default)$' <<<"$shown")"
  check "devicectl audio shows the null sink" 1 "$(grep -c '^    Null-Output$' <<<"$shown")"

  # Experience modes: "music" is the mode whose commands Wine can carry out (the playback mute;
  # its volume cannot be set there), so it is the one that leaves a restore state.
  store="$QV_WINEPREFIX_DIR/drive_c/ProgramData/QV/DeviceControl/ExpModes"
  rm -rf "$QV_WINEPREFIX_DIR/drive_c/ProgramData/QV"
  check "no restore state before any mode" '{"result":false}' "$(run call 111)"
  check "apply music" '{"result":true}' "$(run call ExpModes.ChangeMode '{"ModeName":"music","UserPicks":[]}')"
  check "the restore state in its written form" '{"ModeName":"restorestate","Commands":[{"Type":4,"Parameter":"0"}]}' \
    "$(cat "$store/restorestate.json" 2>/dev/null)"
  check "a new service restores it" '{"result":true}' "$(run call 111)"
  check "movie changes nothing Wine can change" '{"result":false}' \
    "$(run call 110 '{"ModeName":"movie","UserPicks":[]}')"
  check "the restore state is kept" '{"ModeName":"restorestate","Commands":[{"Type":4,"Parameter":"0"}]}' \
    "$(cat "$store/restorestate.json" 2>/dev/null)"
  printf 'not json' > "$store/restorestate.json"
  modes_log="$QV_WINEPREFIX_DIR/drive_c/devicectl-modes.log"
  rm -f "$modes_log"
  check "a corrupt restore state restores nothing" '{"result":false}' "$(run --log 'C:\devicectl-modes.log' call 111)"
  check "and is deleted" "absent" "$([ -e "$store/restorestate.json" ] && echo present || echo absent)"
  check "and logged" 1 "$(tr -d '\0' < "$modes_log" | grep -c 'Exception occurred while loading ExpModes config')"
else
  echo "skip audio and experience modes: no PULSE_SERVER (scripts/test-windows starts one)"
fi
rm -f "$err"

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
