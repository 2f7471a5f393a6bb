#!/usr/bin/env bash
# The display-control library's commands through devicectl.exe under Wine, against the double of
# the library (tests/windows/display-library/) that scripts/wine-install puts beside the module:
# the answers, what the module called in the library, and the module refusing an old service
# executable or a library not signed by a trusted key.
set -uo pipefail
root=${QV_ROOT:?}
bin=$root/build/mingw/bin
prefix=${QV_WINEPREFIX:-$root/build/wine/prefix}
folder="$prefix/drive_c/Program Files/DeviceControl"
state="$folder/qvdc-double-state.txt"
calls="$folder/qvdc-double-calls.txt"
run() { "$root/scripts/wine-run" devicectl.exe "$@"; }
passed=0
failures=0
check() {  # check NAME EXPECTED ACTUAL
  if [ "$2" == "$3" ]; then
    echo "ok   $1"; passed=$((passed + 1))
  else
    echo "FAIL $1: expected [$2], got [$3]"; failures=$((failures + 1))
  fi
}
# The double's state back to its defaults and its calls forgotten.
reset() { rm -f "$state" "$calls"; }
called() { if [ -f "$calls" ]; then tr -d '\r' < "$calls"; fi; }
# The module's log, written as UTF-8 or UTF-16 depending on the sink.
log_has() { if [ -f "$1" ]; then tr -d '\0' < "$1" | grep -cF "$2"; else echo "no log"; fi; }

for built in signed/QVDC.dll signed-other/QVDC.dll signed-extended/QVDC.dll QVDC.dll DisplayControlService-5.exe DisplayControlService-4.exe; do
  if [ ! -f "$bin/$built" ]; then
    echo "FAIL $bin/$built was not built (the test build's ALL target makes it)"
    exit 1
  fi
done

# A command loads the library once: the module asks whether the platform is supported, starts
# the library, makes its call, and stops the library when the last service goes.
reset
check "input source by default" '{"result":15}' "$(run call 70 '{}')"
check "one command's calls" "attach IsPlatformSupported() Start() GetInputSource() Stop(1)" "$(called | paste -sd' ')"
check "contrast by default" '{"result":50}' "$(run call 77 '{}')"
check "the supported input sources" '{"result":[15,17,27]}' "$(run call 69 '{}')"
check "the schedule by default" \
  '{"result":{"Status":false,"Mode":1,"StartHour":21,"StartMinute":0,"EndHour":7,"EndMinute":0}}' "$(run call 72 '{}')"

reset
check "switch to input 17" '{"result":true}' "$(run call 71 '{"IValue":17}')"
check "input 17 read back" '{"result":17}' "$(run call 70 '{}')"
check "input 99 is not offered" '{"result":false}' "$(run call 71 '{"IValue":99}')"
check "input stays 17" '{"result":17}' "$(run call 70 '{}')"

reset
check "contrast 70" '{"result":true}' "$(run call 78 '{"IValue":70}')"
check "contrast 70 read back" '{"result":70}' "$(run call 77 '{}')"
check "contrast 101 does not read back" '{"result":false}' "$(run call 78 '{"IValue":101}')"
check "contrast stays 70" '{"result":70}' "$(run call 77 '{}')"

reset
check "set the gains" '{"result":true}' "$(run call 75 '{"RedGain":90,"GreenGain":80,"BlueGain":70}')"
check "the gains read back" '{"result":{"Supported":true,"RedGain":90,"GreenGain":80,"BlueGain":70}}' \
  "$(run call 74 '{}')"
check "a blue gain of 101 does not read back" '{"result":false}' \
  "$(run call 75 '{"RedGain":10,"GreenGain":20,"BlueGain":101}')"
check "red and green took, blue stayed" '{"result":{"Supported":true,"RedGain":10,"GreenGain":20,"BlueGain":70}}' \
  "$(run call 74 '{}')"
reset
printf 'features=1\n' > "$state"
check "gains without their feature bit" '{"result":{}}' "$(run call 74 '{}')"
check "and no gain was read" 0 "$(called | grep -c 'Gain(')"

reset
check "set the whole schedule" '{"result":true}' \
  "$(run call 73 '{"Status":true,"Mode":2,"StartHour":22,"StartMinute":30,"EndHour":6,"EndMinute":15}')"
check "the schedule read back" \
  '{"result":{"Status":true,"Mode":2,"StartHour":22,"StartMinute":30,"EndHour":6,"EndMinute":15}}' "$(run call 72 '{}')"
: > "$calls"
check "set the mode alone" '{"result":true}' "$(run call 73 '{"Mode":0}')"
check "the mode was the last call made" "SetShedulerMode(0)" "$(called | grep -v '^Stop(' | tail -n 1)"
check "the switch was left alone" 0 "$(called | grep -c '^EnableSchedule(')"
check "the times were left alone" 0 "$(called | grep -c '^SetScheduleTime(')"
check "only the mode changed" \
  '{"result":{"Status":true,"Mode":0,"StartHour":22,"StartMinute":30,"EndHour":6,"EndMinute":15}}' "$(run call 72 '{}')"

# A library that says the platform is not supported is loaded but never started or changed.
reset
printf 'platform=0\n' > "$state"
check "unsupported platform: gains not set" '{"result":false}' \
  "$(run call 75 '{"RedGain":90,"GreenGain":80,"BlueGain":70}')"
check "unsupported platform: no gains" '{"result":{}}' "$(run call 74 '{}')"
check "unsupported platform: asked" 2 "$(called | grep -c '^IsPlatformSupported()$')"
check "unsupported platform: never started" 0 "$(called | grep -c '^Start(')"
check "unsupported platform: nothing set" 0 "$(called | grep -c '^Set')"

# The service executable of major version 4: the library is not even loaded.
reset
old_log="$prefix/drive_c/display-old.log"
rm -f "$old_log"
check "old service: no contrast" '{"result":-1}' \
  "$(QV_INSTALL_DISPLAY_SERVICE=4 run --log 'C:\display-old.log' call 77 '{}')"
check "old service: logged" 1 "$(log_has "$old_log" 'DisplayHelper::InitQVDC: QVDC version out of date')"
check "old service: the library was not loaded" "" "$(called)"

# A library without a signature, one signed by a key no table lists, and one signed by a key of the
# maker's other programs that the library's own table does not list: refused before loading.
for kind in unsigned other extended; do
  reset
  kind_log="$prefix/drive_c/display-$kind.log"
  rm -f "$kind_log"
  check "$kind library: no contrast" '{"result":-1}' \
    "$(QV_INSTALL_QVDC=$kind run --log "C:\\display-$kind.log" call 77 '{}')"
  check "$kind library: logged" 1 "$(log_has "$kind_log" 'DisplayHelper::InitQVDC: QVDC library not signed by QV!')"
  check "$kind library: not loaded" "" "$(called)"
done

# What Wine has no part for: a brightness instance in its WMI, advanced colour in its display
# configuration, preset profiles in its colour management. Each answers as a machine without it.
check "brightness without a WMI brightness instance" '{"result":-1}' "$(run call 61 '{}')"
check "brightness cannot be set there" '{"result":false}' "$(run call 62 '{"IValue":40}')"
check "HDR not reported" '{"result":false}' "$(run call 63 '{}')"
check "no display modes" '{"result":[]}' "$(run call 66 '{}')"

# The tool finds the vendor's software usable (the double and the service stand-in), as the
# module does: its answer keeps the library in use for the commands after it.
reset
check "the vendor's software is there" '{"result":true}' "$(run call 76 '{}')"
check "the module and the tool each asked the library" 2 "$(called | grep -c '^IsPlatformSupported()$')"
check "the library stays in use after it, in the same service" '{"result":true} {"result":15} {"result":50}' \
  "$(printf '76 {}\n70 {}\n77 {}\n' | run script - 2>/dev/null | tr -d '\r' | grep '^{' | paste -sd' ')"
reset
printf 'platform=0\n' > "$state"
check "an unsupported platform: no vendor's software" '{"result":false}' "$(run call 76 '{}')"

# The usual install again, and the library answering through it.
"$root/scripts/wine-install" "$prefix"
reset
check "restored install answers" '{"result":50}' "$(run call 77 '{}')"
reset

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
