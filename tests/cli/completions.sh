#!/bin/bash
# The completions that the build has made offer what they should, in every shell that is installed.
# Usage: completions.sh SHARE_DIRECTORY
set -uo pipefail

share=$1
failed=0
fail() { echo "$*"; failed=1; }

for completion in "$share"/bash-completion/completions/*; do
    # shellcheck source=/dev/null
    . "$completion" || fail "$completion cannot be read"
done
shells=(bash)
for shell in zsh fish; do
    if command -v "$shell" >/dev/null; then
        shells+=("$shell")
    else
        echo "not tried: $shell is not installed"
    fi
done

home=$(mktemp -d)
folder=$(mktemp -d)
trap 'rm -r "$home" "$folder"' EXIT
cd "$folder" || exit 1
mkdir sub
touch room.pobj 'my room.src' SITE.ZIP notes.txt

# zsh gets its first line filled in and completes it; what it would add goes to a file.
cat >"$home/.zshrc" <<END
fpath=("$share/zsh/vendor-completions" \$fpath)
autoload -U compinit && compinit -u -d "$home/known"
compadd() {
    local -a hits
    if [[ "\${(@)@[1,(i)(-|--)]}" != *-[OAD]\ * ]]; then
        builtin compadd -A hits "\$@"
        (( \$#hits )) && print -l -- "\${(@Q)hits}" >>"$home/offered"
    fi
    builtin compadd "\$@"
}
answer() { BUFFER=\$LINE CURSOR=\$#LINE; zle complete-word; kill -HUP \$\$ }
zle -N zle-line-init answer
END

# offered SHELL WORDS...: what it offers where the last word is. Only bash takes = for a word.
offered() {
    local shell=$1 line=${*:2}
    line=${line// = /=}
    case $shell in
    bash)
        COMP_WORDS=("${@:2}")
        COMP_CWORD=$(($# - 2))
        COMPREPLY=()
        "_$2"
        printf '%s\n' "${COMPREPLY[@]}"
        ;;
    zsh)
        : >"$home/offered"
        LINE=$line ZDOTDIR=$home timeout --kill-after=2 20 script -qec 'zsh -d -i' /dev/null </dev/null >/dev/null
        cat "$home/offered"
        ;;
    fish)
        HOME=$home timeout 20 fish --no-config -c "source \$argv[1]; complete -C \$argv[2]" \
            "$share/fish/vendor_completions.d/$2.fish" "$line" | cut -f1
        ;;
    esac
}

# offers WORDS... => EXPECTED...: every shell does, in any order
offers() {
    local words=() wanted found shell
    while [ "$1" != '=>' ]; do
        words+=("$1")
        shift
    done
    shift
    wanted=$(printf '%s\n' "$@" | sort)
    for shell in "${shells[@]}"; do
        # A shell answers with the whole word, or with what is new of it.
        found=$(offered "$shell" "${words[@]}" | sed 's/^--[a-z-]*=//; s/.*,//; s,/$,,' | sort -u)
        [ "$found" = "$wanted" ] || fail "$shell: ${words[*]}: offered ${found@Q}, expected ${wanted@Q}"
    done
}
offers arkctl mon '=>' monitor
offers arkctl --timeout 3 li '=>' listen
offers arkctl monitor --ty '=>' --type
offers arkctl monitor --type err '=>' error
offers arkctl monitor --type error,wa '=>' warning
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
offers arkhost '' '=>' room.pobj status sub
exit "$failed"
