#!/usr/bin/env bash
# Each profile in profiles/, recorded through the module's interface and replayed: the replay
# answers every getter as the original does (devicectl status prints the same table).
set -u
devicectl=$1
profiles=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
count=0
for profile in "$profiles"/*.json; do
  case $profile in *.schema.json) continue ;; esac
  name=$(basename "$profile" .json)
  count=$((count + 1))
  "$devicectl" --profile "$profile" status >"$work/$name.original" || { echo "FAIL $name: status"; failed=1; continue; }
  "$devicectl" --profile "$profile" record "$work/$name.recorded.json" >/dev/null || { echo "FAIL $name: record"; failed=1; continue; }
  "$devicectl" --profile "$work/$name.recorded.json" status >"$work/$name.replayed" || { echo "FAIL $name: replay refused"; failed=1; continue; }
  if diff "$work/$name.original" "$work/$name.replayed" >"$work/$name.diff"; then
    echo "ok   $name: $(grep -c '^[0-9]' "$work/$name.original") getters answer alike"
  else
    echo "FAIL $name: the replay answers differently"; cat "$work/$name.diff"; failed=1
  fi
done
[ "$count" -ge 4 ] || { echo "FAIL: only $count profiles"; failed=1; }
# A broken profile is refused with the member's path, and devicectl says so.
printf '{"name":"x","mouse":{"speed":0}}' >"$work/broken.json"
out=$("$devicectl" --profile "$work/broken.json" status 2>&1); rc=$?
if [ "$rc" = 2 ] && [ "$out" = "devicectl: the profile is refused: /mouse/speed: 0 is below the minimum 1" ]; then
  echo "ok   a broken profile is refused with its member's path"
else
  echo "FAIL broken profile: exit $rc, $out"; failed=1
fi
exit $failed
