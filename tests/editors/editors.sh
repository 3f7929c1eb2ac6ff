#!/bin/bash
# Reads the grammar with the engine that editors use, and runs the extension with the real arkc.
# Usage: editors.sh EDITORS ARKC EXAMPLE_DIRECTORY
# Status 77: node or the engine is not here; the engine comes with `npm ci` in this directory.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

command -v node >/dev/null || { echo "skipped: no node"; exit 77; }
timeout --kill-after=5 60 node "$here/extension.mjs" "$1/vscode/extension.js" "$2"
packed=$(mktemp)
trap 'rm "$packed"' EXIT
python3 "$1/vsix.py" "$packed" >/dev/null
python3 - "$packed" <<'END'
import sys, xml.dom.minidom, zipfile
packed = zipfile.ZipFile(sys.argv[1])
for name in "[Content_Types].xml", "extension.vsixmanifest":
    xml.dom.minidom.parseString(packed.read(name))
packed.getinfo("extension/syntaxes/arkivon.tmLanguage.json")
END
[ -d "$here/node_modules/vscode-textmate" ] || { echo "skipped: no vscode-textmate; npm ci in $here"; exit 77; }
timeout --kill-after=5 60 node "$here/grammar.mjs" "$1/vscode/syntaxes/arkivon.tmLanguage.json" "$3"/*.src
