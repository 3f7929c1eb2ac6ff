#!/usr/bin/env bash
# Builds the Debian package dist/arkivon_VERSION_ARCHITECTURE.deb. Installs what is missing for it, as run.sh does. The
# version is that of packaging/version.sh; the same sources give the same package.
set -euo pipefail
cd "$(dirname "$0")/.."

if ! command -v dpkg-query >/dev/null; then
    echo "This script builds a Debian package, and this is no Debian system." >&2
    exit 3
fi
. tools/setup.sh
need "${build_packages[@]}" dpkg-dev binutils

version=$(packaging/version.sh)
SOURCE_DATE_EPOCH=$(packaging/version.sh --time)
export SOURCE_DATE_EPOCH
architecture=$(dpkg --print-architecture)

cmake --preset release -DARKIVON_PACKAGE_VERSION="$version" >/dev/null
targets=(arkivon arkc arkctl arkhost)
if cmake --build --preset release --target help | grep -q '^pages:'; then
    targets+=(pages)
fi
cmake --build --preset release --target "${targets[@]}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
umask 022
stage=$work/stage
doc=$stage/usr/share/doc/arkivon
DESTDIR=$stage cmake --install build/release --prefix /usr >/dev/null
strip --strip-unneeded --remove-section=.comment --remove-section=.note "$stage"/usr/bin/*
[ ! -d "$stage/usr/share/man" ] || find "$stage/usr/share/man" -type f -exec gzip -9n {} +
install -D -m 0644 packaging/arkivon.service "$stage/lib/systemd/system/arkivon.service"
install -D -m 0644 packaging/60-arkivon.rules "$stage/lib/udev/rules.d/60-arkivon.rules"
install -D -m 0644 packaging/arkivon.default "$stage/usr/share/arkivon/default"
install -D -m 0644 packaging/debian/lintian-overrides "$stage/usr/share/lintian/overrides/arkivon"

year=$(date -u -d "@$SOURCE_DATE_EPOCH" +%Y)
{
    sed "s/@YEAR@/$year/" packaging/debian/copyright.in
    for package in libcli11-dev nlohmann-json3-dev; do
        printf '\n-- %s\n\n' "$package"
        cat "/usr/share/doc/$package/copyright"
    done
} >"$doc/copyright"
gzip -9n >"$doc/changelog.gz" <<CHANGELOG
arkivon ($version) stable; urgency=medium

  * What has changed is in the history of the source tree.

 -- Arkivon <support@arkivon.invalid>  $(date -u -R -d "@$SOURCE_DATE_EPOCH")
CHANGELOG

# The libraries that the programs are linked to. No Qt plugin is loaded at run time.
mkdir "$work/debian"
echo "Source: arkivon" >"$work/debian/control"
depends=$(cd "$work" && dpkg-shlibdeps -O stage/usr/bin/* 2> >(grep -v 'should already be installed' >&2) |
    sed -n 's/^shlibs:Depends=//p')

mkdir "$stage/DEBIAN"
sed -e "s/@VERSION@/$version/" -e "s/@ARCHITECTURE@/$architecture/" -e "s/@DEPENDS@/$depends/" \
    -e "s/@INSTALLED_SIZE@/$(du -k -s --exclude=DEBIAN "$stage" | cut -f 1)/" \
    packaging/debian/control.in >"$stage/DEBIAN/control"
install -m 0755 packaging/debian/postinst packaging/debian/prerm packaging/debian/postrm "$stage/DEBIAN/"
(cd "$stage" && find . -type f -not -path './DEBIAN/*' -printf '%P\0' | sort -z | xargs -0 md5sum) >"$work/md5sums"
install -m 0644 "$work/md5sums" "$stage/DEBIAN/md5sums"
find "$stage" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +

mkdir -p dist
package=dist/arkivon_${version}_$architecture.deb
dpkg-deb --root-owner-group -Zxz --build "$stage" "$package" >/dev/null
echo "$package"
