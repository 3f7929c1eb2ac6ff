#!/bin/bash
# Reads the grammar with the engine that editors use, and runs the extension and Vim's files with the real arkc.
# Usage: editors.sh EDITORS ARKC EXAMPLE_DIRECTORY
# Status 77: node or the engine is not here; the engine comes with `npm ci` in this directory.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

if vim --version 2>/dev/null | grep -q '+eval'; then
    mkdir "$folder/sub"
    printf "include 'lamp.src'\nstart { größe = 1 }\n" >"$folder/sub/room.src"
    printf 'integer nLamp = nothing\n' >"$folder/sub/lamp.src"
    (cd "$folder" && EDITORS=$1 REPORT=$folder/report PATH=$(dirname "$2"):$PATH LC_ALL=C.UTF-8 timeout --kill-after=5 60 \
        vim -Nu NONE -i NONE -n -es -S "$here/vim.vim" </dev/null >/dev/null)
    if [ ! -e "$folder/report" ] || [ -s "$folder/report" ]; then
        cat "$folder/report" # none: it did not come to its end
        exit 1
    fi
else
    echo "not tried: vim is not installed"
fi
if command -v nvim >/dev/null && [ -d "$folder/sub" ]; then
    printf "include 'lamp.src'\nstart { größe = nLamp }\n" >"$folder/sub/room.src"
    printf 'integer nLamp = 1\n' >"$folder/sub/lamp.src"
    (cd "$folder" && EDITORS=$1 REPORT=$folder/nvim-report PATH=$(dirname "$2"):$PATH LC_ALL=C.UTF-8 XDG_STATE_HOME=$folder \
        XDG_CACHE_HOME=$folder timeout --kill-after=5 60 nvim --headless -u NONE -i NONE -n -S "$here/nvim.lua" </dev/null)
    if [ ! -e "$folder/nvim-report" ] || [ -s "$folder/nvim-report" ]; then
        cat "$folder/nvim-report"
        exit 1
    fi
else
    echo "not tried: neovim is not installed"
fi

python3 "$1/vsix.py" "$folder/packed.vsix" >/dev/null
python3 - "$folder/packed.vsix" <<'END'
import sys, xml.dom.minidom, zipfile
packed = zipfile.ZipFile(sys.argv[1])
for name in "[Content_Types].xml", "extension.vsixmanifest":
    xml.dom.minidom.parseString(packed.read(name))
packed.getinfo("extension/syntaxes/arkivon.tmLanguage.json")
END

command -v node >/dev/null || { echo "skipped: no node"; exit 77; }
timeout --kill-after=5 60 node "$here/extension.mjs" "$1/vscode/extension.js" "$2"
[ -d "$here/node_modules/vscode-textmate" ] || { echo "skipped: no vscode-textmate; npm ci in $here"; exit 77; }
timeout --kill-after=5 60 node "$here/grammar.mjs" "$1/vscode/syntaxes/arkivon.tmLanguage.json" "$3"/*.src
