#!/usr/bin/env bash
# Builds everything and passes every check: formatting, tests with and without sanitizers, fuzzing.
# FUZZ_SECONDS per fuzz target, 5 unless set. TIDY_SECONDS=N adds N seconds of static analysis, which takes longer than
# all the rest together: it begins with the sources that changed last and goes on where it stopped the next time.
set -euo pipefail
cd "$(dirname "$0")"

if ! command -v dpkg-query >/dev/null; then
    echo "This script installs what it needs from Debian packages, and this is no Debian system." >&2
    exit 3
fi
. tools/setup.sh
need "${build_packages[@]}" clang libclang-rt-14-dev clang-format shellcheck ccache
# The second run, also of another clone, compiles only what has changed.
export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
# What some tests need beside themselves; without it they are skipped.
need man-db groff-base iproute2 util-linux isc-dhcp-client dnsmasq-base socat python3-websockets chromium zsh fish vim neovim \
    qemu-system-x86 busybox-static kmod udev gcc-12 make
command -v npm >/dev/null || need nodejs npm
(cd tests/web-panel && npm ci --no-audit --no-fund --silent) || echo "No playwright-core: the web panel is not tested."
(cd tests/editors && npm ci --no-audit --no-fund --silent) || echo "No vscode-textmate: the grammar for editors is not tested."

step() { echo; echo "== $*"; }

step "formatting"
find src tests bench -name '*.cpp' -o -name '*.h' | sort | xargs clang-format --dry-run --Werror

step "shell scripts"
shellcheck -x ./*.sh bench/*.sh packaging/*.sh packaging/debian/p* tools/*.sh tests/*/*.sh resources/scripts/*.sh

step "release"
cmake --preset release >/dev/null
cmake --build --preset release
ctest --preset release

step "sanitizers"
cmake --preset sanitize >/dev/null
cmake --build --preset sanitize
ctest --preset sanitize

if [ -n "${TIDY_SECONDS:-}" ]; then
    step "static analysis"
    need clang-tidy
    python3 tests/tidy.py build/release "$TIDY_SECONDS"
fi

step "fuzzing"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzzers
for target in build/fuzz/bin/*Fuzz; do
    name=$(basename "$target" Fuzz)
    corpus=tests/fuzz/corpus/$(sed 's/\([a-z]\)\([A-Z]\)/\1-\2/g; s/.*/\L&/' <<<"$name")
    scratch=$(mktemp -d)
    echo "$name"
    "$target" -max_total_time="${FUZZ_SECONDS:-5}" -verbosity=0 -print_final_stats=0 "$scratch" "$corpus" \
        >"$scratch.log" 2>&1 || { tail -40 "$scratch.log"; exit 1; }
    rm -r "$scratch" "$scratch.log"
done

step "all passed"
