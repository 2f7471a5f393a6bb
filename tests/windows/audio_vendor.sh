#!/usr/bin/env bash
# Noise control and speaker swap down the audio vendor's script path, through the real DLL: a
# service named as the vendor's runs, and powershell.exe is a stand-in that answers the vendor's
# scripts (audio-vendor/ScriptHost.c). Then a script host that hangs: the module ends it after
# its 5-second wait and answers, instead of reading forever.
set -uo pipefail
root=${QV_ROOT:?}
prefix=${QV_WINEPREFIX:-$root/build/wine/prefix}
bin=$root/build/mingw/bin
run() { "$root/scripts/wine-run" devicectl.exe "$@"; }
wine_do() { "$root/scripts/wine-run" "$@" >/dev/null 2>&1; }
passed=0
failures=0
check() {  # check NAME EXPECTED ACTUAL
  if [ "$2" == "$3" ]; then
    echo "ok   $1"; passed=$((passed + 1))
  else
    echo "FAIL $1: expected [$2], got [$3]"; failures=$((failures + 1))
  fi
}
log_has() { tr -d '\0' < "$1" 2>/dev/null | grep -c "$2"; }

if [ -z "${PULSE_SERVER:-}" ]; then
  echo "skip: no PULSE_SERVER (scripts/test-windows starts one): no default endpoint to name"
  exit 0
fi

host_dir="$prefix/drive_c/windows/system32/WindowsPowerShell/v1.0"
mkdir -p "$host_dir"
saved=""
if [ -e "$host_dir/powershell.exe" ]; then saved=$(mktemp); cp "$host_dir/powershell.exe" "$saved"; fi
cleanup() {
  rm -f "$host_dir/hang" "$host_dir/calls.txt"
  if [ -n "$saved" ]; then cp "$saved" "$host_dir/powershell.exe"; rm -f "$saved"; else rm -f "$host_dir/powershell.exe"; fi
  wine_do sc stop RtkAudioUniversalService
  wine_do sc delete RtkAudioUniversalService
}
trap cleanup EXIT
cp "$bin/script_host.exe" "$host_dir/powershell.exe"
rm -f "$host_dir/hang" "$host_dir/calls.txt"
cp "$bin/vendor_service.exe" "$prefix/drive_c/vendor_service.exe"
wine_do sc create RtkAudioUniversalService 'binPath=' 'C:\vendor_service.exe'
wine_do sc start RtkAudioUniversalService
sleep 1

check "noise control through the vendor's script" '{"result":true}' "$(run call 46 '{"dataFlow":0,"enable":true}')"
check "the script ran once, hidden, with the endpoint's path" 1 \
  "$(grep -c "DevicePathEndpointId = '{0.0.0.00000000}\.{[0-9A-F-]*}';" "$host_dir/calls.txt" 2>/dev/null)"
check "speaker swap asks for support, then sets it" '{"result":true}' "$(run call 79 '{"IValue":1}')"
check "two more scripts" 3 "$(wc -l < "$host_dir/calls.txt" 2>/dev/null | tr -d ' ')"

touch "$host_dir/hang"
hang_log="$prefix/drive_c/audio-vendor-hang.log"
rm -f "$hang_log"
start=$(date +%s)
answer=$(run --log 'C:\audio-vendor-hang.log' call 46 '{"dataFlow":0,"enable":true}')
took=$(( $(date +%s) - start ))
check "a script host that hangs is answered" '{"result":false}' "$answer"
check "after the wait, not forever" 1 "$([ "$took" -ge 5 ] && [ "$took" -lt 60 ] && echo 1 || echo "0 ($took s)")"
check "and logged" 1 "$(log_has "$hang_log" 'RTKToggleNoiseControl: PowerShell wrote nothing in 5 seconds and was ended.')"

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
