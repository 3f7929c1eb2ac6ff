#!/bin/bash
# The man pages that the build has made render without a warning, and the completions offer what they should.
# Usage: command_pages.sh SHARE_DIRECTORY
set -uo pipefail

share=$1
command -v man >/dev/null || { echo "man is not installed"; exit 77; }
failed=0
fail() { echo "$*"; failed=1; }

pages=0
for page in "$share"/man/man*/*; do
    [ -s "$page" ] || { fail "$page is empty or missing"; continue; }
    pages=$((pages + 1))
    warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' man -l --warnings -E UTF-8 "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || fail "$page: $warnings"
    text=$(LC_ALL=C.UTF-8 MANWIDTH=200 man -l -E UTF-8 -P cat "$page" 2>/dev/null)
    for section in NAME SYNOPSIS DESCRIPTION OPTIONS 'EXIT STATUS'; do
        grep -q "^$section" <<<"$text" || fail "$page has no section $section"
    done
done
[ "$pages" -gt 10 ] || fail "only $pages pages"

for completion in "$share"/bash-completion/completions/*; do
    # shellcheck source=/dev/null
    . "$completion" || fail "$completion cannot be read"
done

folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
cd "$folder" || exit 1
mkdir sub
touch room.pobj 'my room.src' SITE.ZIP notes.txt

# offers WORDS... => EXPECTED...: what stands where the last word is, in any order
offers() {
    local words=() wanted
    while [ "$1" != '=>' ]; do
        words+=("$1")
        shift
    done
    shift
    wanted=$(printf '%s\n' "$@" | sort)
    COMP_WORDS=("${words[@]}")
    COMP_CWORD=$((${#words[@]} - 1))
    COMPREPLY=()
    "_${words[0]}"
    [ "$(printf '%s\n' "${COMPREPLY[@]}" | sort)" = "$wanted" ] ||
        fail "${words[*]}: offered ${COMPREPLY[*]@Q}, expected ${*@Q}"
}
offers arkctl mon '=>' monitor
offers arkctl --timeout 3 li '=>' listen
offers arkctl monitor --ty '=>' --type
offers arkctl monitor --type err '=>' error
offers arkctl monitor --type error,wa '=>' error,warning
offers arkctl monitor --not-type = rec '=>' received
offers arkctl upload '' '=>' room.pobj 'my room.src' SITE.ZIP sub
offers arkctl upload --ir 3 room '=>' room.pobj
offers arkctl listen '' '=>' add remove
offers arkctl listen add --h '=>' --help --host
offers arkctl monitor --text mon '=>' ''
offers arkctl download sou '=>' source
offers arkivon --language z '=>' zh_CN
offers arkivon --data-dir '' '=>' sub
offers arkivon room '=>' room.pobj
exit "$failed"
