#!/usr/bin/env bash
# Builds the packages. ./package.sh --help says more.
set -euo pipefail

root=$(cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")" && pwd)
build=$root/build/package
packages=$root/build/packages
log=$root/build/package.log
rpm=true
test=false

print_help() {
    cat <<EOF
Usage: ./package.sh [OPTION...]

Builds Debian packages and RPM packages of the service, of what bundle authors need and of the agent,
and checks them. Installs what is missing (Debian packages, as root or through sudo). The same commit
gives the same Debian packages, byte by byte, wherever it is built.

    --no-rpm    Debian packages only
    --test      also install them into a bare Debian 12 of its own, run the agent there, write a bundle
                against them as docs/bundles.md says, and purge them (as root); and build them again in
                another folder and compare
    --help      this text

The packages lie in $packages. docs/packages.md says what is in them.
EOF
}

while (($#)); do
    case $1 in
        --no-rpm) rpm=false ;;
        --test) test=true ;;
        --help | -h) print_help && exit 0 ;;
        *) echo "package.sh: unknown option '$1'; see --help" >&2 && exit 2 ;;
    esac
    shift
done

source "$root/scripts/setup.sh"
qv_install_packages "${qv_packages[@]}" "${qv_fleet_packages[@]}" "${qv_package_packages[@]}"

# The time that everything in the packages has: that of the commit, or of the export of it.
if [[ -z ${SOURCE_DATE_EPOCH:-} ]]; then
    SOURCE_DATE_EPOCH=$(git -c safe.directory='*' -C "$root" log -1 --format=%ct 2>/dev/null ||
        sed -n 's/^\([0-9]\{1,\}\)$/\1/p' "$root/version/commit.txt")
    [[ -n $SOURCE_DATE_EPOCH ]] || SOURCE_DATE_EPOCH=$(date +%s)
fi
export SOURCE_DATE_EPOCH

# configure LIBRARY_DIRECTORY: for a prefix that the system searches, so without run paths.
configure() {
    cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS=-g \
        -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_SYSCONFDIR=/etc -DCMAKE_INSTALL_LIBDIR="$1" \
        -DCMAKE_SKIP_INSTALL_RPATH=ON -DQV_BUILD_PACKAGES=ON -DQV_BUILD_FLEET=ON </dev/null
}

# pack GENERATOR SUFFIX...: builds, packs, and moves the packages to where they belong.
pack() {
    local generator=$1 suffix
    shift
    cmake --build "$build" </dev/null
    (cd "$build" && cpack -G "$generator" -B "$build/cpack")
    for suffix in "$@"; do
        mv "$build"/cpack/*."$suffix" "$packages/"
    done
}

# CPack writes the build directory into the checksums of debug symbols: packs them again without it.
repack_symbols() {
    local package contents
    for package in "$packages"/*.ddeb; do
        contents=$build/cpack/symbols
        rm -rf "$contents"
        dpkg-deb --raw-extract "$package" "$contents"
        sed -i 's#  /.*-dbgsym/usr/#  usr/#' "$contents/DEBIAN/md5sums"
        find "$contents" -name '*.debug' -exec chmod 644 {} +
        dpkg-deb --root-owner-group --build "$contents" "$package"
    done
}

rm -rf "$packages" "$build/cpack"
mkdir -p "$packages" "$build"
umask 022

echo "== Debian packages: building... (the first time takes minutes)"
qv_run_logged "$log" configure "lib/$(dpkg-architecture -q DEB_HOST_MULTIARCH)"
qv_run_logged "$log" pack DEB deb ddeb
qv_run_logged "$log" repack_symbols

if $rpm; then
    echo "== RPM packages"
    qv_run_logged "$log" configure lib64
    qv_run_logged "$log" pack RPM rpm
fi

echo "== Checks"
"$root/packaging/check.sh" "$packages"

if $test; then
    echo "== Installation into a bare system"
    "$root/packaging/test.sh" "$packages"
    echo "== The same packages again, from another folder"
    "$root/packaging/rebuild.sh" "$packages"
fi

echo "The packages:"
printf '%s\n' "$packages"/*
