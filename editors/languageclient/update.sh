#!/bin/bash
# Makes editors/vscode/languageclient.js of the packages that package-lock.json names, with their licences beside it.
# To be run when the versions change; wants node and npm.
set -euo pipefail
cd "$(dirname "$0")"
npm ci
npx esbuild node_modules/vscode-languageclient/node.js --bundle --minify --platform=node --external:vscode \
    --target=node16 --outfile=../vscode/languageclient.js --metafile=node_modules/parts.json
for package in $(grep -o 'node_modules/[a-z-]*/' node_modules/parts.json | sort -u); do
    echo "== ${package#node_modules/}"
    cat "$package"[Ll][Ii][Cc][Ee][Nn][Ss][Ee]*
done | sed 's/\r$//' >../vscode/languageclient.LICENSES.txt
