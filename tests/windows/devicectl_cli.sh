#!/usr/bin/env bash
# devicectl.exe under Wine, as a person types it: answers on stdout, status on stderr, exit codes.
set -uo pipefail
root=${QV_ROOT:?}
err=$(mktemp)
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

out=$(run call 14 '{}' 2>"$err"); rc=$?
check "unsupported number prints {}" "{}" "$out"
check "unsupported number exits 1" 1 "$rc"
check "unsupported number status line" "status: 0x20000001 unsupported function number" "$(cat "$err")"

out=$(run call 1 '{' 2>"$err"); rc=$?
check "malformed JSON prints nothing" "" "$out"
check "malformed JSON exits 1" 1 "$rc"
check "malformed JSON status line" "status: 0x20000003 input is not valid JSON" "$(cat "$err")"

run call NoSuchCommand >/dev/null 2>&1; check "unknown name is a usage error" 2 "$?"
run call GetBrightness >/dev/null 2>&1; check "ambiguous operation is a usage error" 2 "$?"
run --dll 'C:\\missing.dll' call 14 >/dev/null 2>&1; check "missing module is reported" 2 "$?"
check "commands lists the table" 57 "$(run commands | wc -l)"
rm -f "$err"

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
