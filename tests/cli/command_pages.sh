#!/bin/bash
# The man pages that the build has made render without a warning.
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

exit "$failed"
