#!/bin/bash
# The version of a package grows with the source's history, wherever the source lies.
# Usage: package_version.sh packaging/version.sh
set -euo pipefail
unset SOURCE_DATE_EPOCH
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null
command -v git >/dev/null || { echo "git is not installed"; exit 77; }

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0
is() { [ "$2" = "$3" ] || { echo "$1: $2, expected $3"; failed=1; }; }
above() { dpkg --compare-versions "$2" gt "$3" || { echo "$1: $2 is not above $3"; failed=1; }; }

tree=$folder/tree
mkdir -p "$tree/packaging"
cp "$1" "$tree/packaging/version.sh"
echo 'project(arkivon VERSION 2.3.15.008 LANGUAGES CXX)' >"$tree/CMakeLists.txt"
git -C "$tree" init -q
commit() { # SECONDS: commits everything, at that time in another zone
    git -C "$tree" add .
    GIT_AUTHOR_DATE="$1 +0800" GIT_COMMITTER_DATE="$1 +0800" \
        git -C "$tree" -c user.name=A -c user.email=a@b.invalid commit -q --allow-empty -m "At $1"
}
version() { "$folder/$1/packaging/version.sh"; }

commit 1500000000
is "a commit" "$(version tree)" 2.3.15.008+20170714.024000
above "a commit above the bare version" "$(version tree)" 2.3.15.008
commit 1500000009
is "the next commit" "$(version tree)" 2.3.15.008+20170714.024009
git clone -q --depth 1 "file://$tree" "$folder/shallow"
is "a shallow clone" "$(version shallow)" "$(version tree)"
mkdir -p "$tree/archive"
git -C "$tree" archive HEAD | tar -C "$tree/archive" -x
is "no repository, in the folder of another" "$(version tree/archive)" "$(version tree)"
is "a given time" "$(SOURCE_DATE_EPOCH=0 version tree)" 2.3.15.008+19700101.000000
before=$(version tree)
echo "# changed" >>"$tree/CMakeLists.txt"
above "a change that is not committed" "$(version tree)" "$before"
exit "$failed"
