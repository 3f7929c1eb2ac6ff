#!/usr/bin/env bash
# Prints the version that a package of this source has: the source's own, and the time (UTC) of its last commit. A later
# commit is a higher version for apt, also in a shallow clone; the same commit always gives the same. --time prints that
# time, in seconds, instead.
set -euo pipefail
cd "$(dirname "$0")/.."

# git, also for root in the folder of a user, where it must not leave files of root.
git() { command git --no-optional-locks -c safe.directory="$PWD" "$@"; }

mark=
if [ -n "${SOURCE_DATE_EPOCH:-}" ]; then
    seconds=$SOURCE_DATE_EPOCH
elif [ -e .git ] && seconds=$(git log -1 --format=%ct 2>/dev/null); then # of this folder, not of one around it
    if [ -n "$(git status --porcelain --untracked-files=no)" ]; then # above its commit, below the next one
        seconds=$(date +%s)
        mark=+changed
    fi
else # an unpacked archive: "git archive" gives its files the time of the commit
    seconds=$(find . \( -name build -o -name dist -o -name node_modules -o -name __pycache__ \) -prune \
        -o -type f -printf '%T@\n' | sort -n | tail -n 1 | cut -d . -f 1)
fi

if [ "${1:-}" = --time ]; then
    echo "$seconds"
else
    release=$(sed -n 's/^project(arkivon VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
    echo "$release+$(date -u -d "@$seconds" +%Y%m%d.%H%M%S)$mark"
fi
