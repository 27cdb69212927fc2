# Brings what rvcheck wrote with --json for many shops together into three tables, columns apart by tabs: findings by
# code, shops by what became of them, and the shops that were not checked. A line may have the name of its machine and a
# tab in front. Of a shop that was checked twice the last time counts.
#
#     jq -Rrn -f fleet.jq FILE...

def told: if startswith("{") then fromjson? else capture("^(?<machine>[^\t]*)\t(?<line>.*)") | .machine as $machine
  | .line | fromjson? | .machine = $machine end;

def verdict: if . % 64 >= 32 then "cancelled" elif . % 16 >= 8 then "not checked" elif . % 8 >= 4 then "findings left"
  elif . % 2 == 1 then "mended" else "sound" end;

reduce (inputs | told) as $line ({codes: {}, running: {}, shops: {}};
  "\($line.machine)\t\($line.shop)" as $shop
  | if $line.type == "finding" then .codes[$line.code] = {severity: $line.severity, text: $line.text}
    elif $line.type == "check" then .running[$shop] += $line.codes
    elif $line.type == "shop" then .shops[$shop] = ($line | .codes = {}) | .shops[$shop].codes = .running[$shop]
      | del(.running[$shop])
    else . end)
| .codes as $kinds | [.shops[]] as $shops
| (["shops", "found", "mended", "left", "code", "severity", "text"],
   ([$shops[].codes // {} | to_entries[]] | group_by(.key)
    | map([length, (map(.value.found) | add), (map(.value.mended) | add), (map(.value.left) | add), .[0].key,
           $kinds[.[0].key].severity, $kinds[.[0].key].text])
    | sort_by(-.[0], -.[1], .[4])[]),
   [],
   ["shops", "result"],
   ($shops | group_by(.status | verdict) | map([length, (.[0].status | verdict)]) | sort_by(-.[0])[]),
   [],
   ["machine", "shop", "reason"],
   ($shops[] | select(.status | verdict == "not checked" or verdict == "cancelled") | [.machine, .shop, .reason]))
| @tsv
