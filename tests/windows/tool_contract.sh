#!/usr/bin/env bash
# The real DeviceControlTool.exe under Wine against every area's test/tool-contract.tsv, the same
# rows the simulated tool answers in the unit tests (ToolContractTest).
set -uo pipefail
root=${QV_ROOT:?}
passed=0
failures=0
for table in "$root"/src/areas/*/test/tool-contract.tsv; do
  line=0
  while IFS= read -r row; do
    line=$((line + 1))
    # Comments, and arrangements of the simulated laptop (this is the machine they describe).
    case "$row" in '' | '#'* | '='*) continue ;; esac
    # Split at tabs by hand: read would merge the empty argument's two tabs.
    area=${row%%$'\t'*}; rest=${row#*$'\t'}
    function=${rest%%$'\t'*}; rest=${rest#*$'\t'}
    argument=${rest%%$'\t'*}; expected=${rest#*$'\t'}
    actual=$("$root/scripts/wine-run" DeviceControlTool.exe "$area" "$function" "$argument" 2>/dev/null | tr -d '\r')
    where="${table#"$root"/}:$line $area $function \"$argument\""
    if [ "$actual" == "$expected" ]; then
      passed=$((passed + 1))
    else
      echo "FAIL $where: expected [$expected], got [$actual]"; failures=$((failures + 1))
    fi
  done < "$table"
done
echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ] && [ "$passed" -ge 30 ]
