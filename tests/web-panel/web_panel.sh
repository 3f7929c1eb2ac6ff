#!/bin/bash
# Drives the web panel of an example in a real browser.
# Usage: web_panel.sh SCRIPT ARKIVON ARKC ARKCTL EXAMPLE_DIRECTORY [PICTURES]
# Status 77: chromium, node or playwright-core is not here; the last comes with `npm ci` in this directory.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

browser=$(command -v chromium) || { echo "skipped: no chromium"; exit 77; }
command -v node >/dev/null || { echo "skipped: no node"; exit 77; }
[ -d "$here/node_modules/playwright-core" ] || { echo "skipped: no playwright-core; npm ci in $here"; exit 77; }

exec timeout --kill-after=5 150 node "$here/$1" "$2" "$3" "$4" "$5" "$browser" "${@:6}"
