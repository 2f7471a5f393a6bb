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

# The laptop without a profile is the full-featured one: every getter, and every setter followed
# by the getters, answer alike.
setters='3 {"IValue":5}
6 {"BValue":true}
9 {"BValue":true}
11 {"IValue":5}
12 {"BValue":false}
43 {"dataFlow":1,"enable":true}
45 {"dataFlow":0,"volume":40}
46 {"dataFlow":1,"enable":true}
62 {"IValue":70}
65 {"BValue":true}
68 {"IValue":7}
71 {"IValue":17}
73 {"Status":true,"Mode":2,"StartHour":22,"StartMinute":30,"EndHour":6,"EndMinute":15}
75 {"RedGain":90,"GreenGain":80,"BlueGain":70}
78 {"IValue":60}
79 {"IValue":1}
92 {"IValue":15}
93 {"BValue":true}
103 {"IValue":2}
110 {"ModeName":"music","UserPicks":[]}
122 {"BValue":false}
133 {"IValue":2}
111 {}'
for run in default profile; do
  option=(); [ "$run" = profile ] && option=(--profile "$profiles/full-featured-laptop.json")
  "$devicectl" "${option[@]}" status >"$work/laptop.$run.status"
  printf '%s\n' "$setters" | "$devicectl" "${option[@]}" script - >"$work/laptop.$run.setters" 2>&1
  "$devicectl" "${option[@]}" status >>"$work/laptop.$run.status"
done
if diff "$work/laptop.default.status" "$work/laptop.profile.status" >/dev/null &&
   diff "$work/laptop.default.setters" "$work/laptop.profile.setters" >/dev/null &&
   [ "$(grep -c '"result":true' "$work/laptop.default.setters")" -ge 15 ]; then
  echo "ok   the laptop without a profile is the full-featured one ($(wc -l <"$work/laptop.default.setters") setter answers alike)"
else
  echo "FAIL the laptop without a profile differs from the full-featured one"
  diff "$work/laptop.default.status" "$work/laptop.profile.status"; diff "$work/laptop.default.setters" "$work/laptop.profile.setters"
  failed=1
fi
# A broken profile is refused with the member's path, and devicectl says so.
printf '{"name":"x","mouse":{"speed":0}}' >"$work/broken.json"
out=$("$devicectl" --profile "$work/broken.json" status 2>&1); rc=$?
if [ "$rc" = 2 ] && [ "$out" = "devicectl: the profile is refused: /mouse/speed: 0 is below the minimum 1" ]; then
  echo "ok   a broken profile is refused with its member's path"
else
  echo "FAIL broken profile: exit $rc, $out"; failed=1
fi
exit $failed
