# Sourced by run.sh, test.sh and package.sh: what the build needs from the system, and how it is built.

# What it takes to build the agent and run it. A package that is missing is installed; the others are
# left alone, whatever their version.
qv_packages=(
    g++
    cmake
    ninja-build
    pkgconf
    libace-dev
    libjsoncpp-dev
    libsafec-dev
    libcli11-dev
    libpcre2-dev
    zlib1g-dev
    libzstd-dev
    libsqlite3-dev
)

# What the example of a northbound agent needs beside that. The tests run it as well.
qv_northbound_packages=(
    libomniorb4-dev
    omniidl
)

# What the fleet is built with. Without them, qvlog is built without its commands.
qv_fleet_packages=(
    libpq-dev
    libnats-dev
)

# What runs a fleet.
qv_fleet_servers=(
    nats-server
    openssl
    postgresql
)

# The road for those who have rsyslog. Its package for PostgreSQL would set up a database of its own,
# which dbconfig-no-thanks declines.
qv_rsyslog_servers=(
    dbconfig-no-thanks
    rsyslog
    rsyslog-pgsql
    rsyslog-relp
)

# What the tests, the benchmarks and the checks need beside that.
qv_test_packages=(
    abigail-tools
    ccache
    libgtest-dev
    libgmock-dev
    groff-base
    clang
    clang-format
    clang-tidy
    libclang-rt-14-dev
    git
    strace
    valgrind
    chromium
    fish
    gcovr
    jq
    lnav
    logrotate
    python3
    ripgrep
    sqlite3
    zsh
)

# What package.sh needs beside what running needs.
qv_package_packages=(
    dpkg-dev
    doxygen
    fakeroot
    file
    git
    lintian
    mmdebstrap
    rpm
    systemd
)

# The loggers that bench.sh measures the service beside, and what bench/reader.sh measures with.
qv_bench_packages=(
    libspdlog-dev
    libgoogle-glog-dev
    liblog4cplus-dev
    libboost-log-dev
    time
)

# The presets name no generator of their own; a build directory keeps the one it was made with.
export CMAKE_GENERATOR="${CMAKE_GENERATOR:-Ninja}"

qv_is_installed() {
    [[ "$(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null)" == installed ]]
}

# qv_apt_get ARGUMENT...: runs it as root. A new system brings its lists of packages up to date by itself:
# apt-get waits for the lock of dpkg, but not for those of the lists and of what is being fetched.
# What it complains of goes through a file: a server that an installation starts would keep a pipe open.
qv_apt_get() {
    local complaints code as_root=()
    complaints=$(mktemp)
    ((EUID == 0)) || as_root=(sudo)
    for _ in {1..60}; do
        code=0
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 apt-get -y -q \
            -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0 "$@" </dev/null 3>&2 2>"$complaints" >&3 || code=$?
        cat "$complaints" >&2
        ((code != 0)) && grep -q "Could not get lock" "$complaints" || break
        echo "Another program installs packages; waiting for it." >&2
        sleep "${QV_LOCK_PAUSE:-5}"
    done
    rm -f "$complaints"
    return "$code"
}

# qv_install_packages PACKAGE...: installs those that are missing, and does nothing when all are
# there. Takes nothing from standard input, which belongs to the program that is run afterwards.
qv_install_packages() {
    local package
    local missing=()
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        echo "This system has no apt-get; expecting to find installed: $*" >&2
        return 0
    fi
    for package in "$@"; do
        qv_is_installed "$package" || missing+=("$package")
    done
    if ((${#missing[@]} == 0)); then
        return 0
    fi
    if ((EUID != 0)) && ! command -v sudo >/dev/null; then
        echo "Missing packages: ${missing[*]}. Install them as root, or install sudo." >&2
        return 1
    fi
    echo "Installing: ${missing[*]}" >&2
    qv_apt_get update ||
        echo "The lists of packages could not be brought up to date, see above; installing by them." >&2
    qv_apt_get install --no-install-recommends "${missing[@]}"
}

# qv_name_foreign_files PATH...: says of what another user has left there that this one cannot write it.
# A run as root, through sudo for instance, leaves such files.
qv_name_foreign_files() {
    local file user
    user=$(id -un 2>/dev/null) || user=$EUID
    file=$(find "$@" ! -type l ! -writable -print -quit 2>/dev/null) || true
    if [[ -n $file && $(stat -c %u "$file") != "$EUID" ]]; then
        echo "$file belongs to $(stat -c %U "$file"): $user cannot write it. This gives it back:" >&2
        echo "    sudo chown -R $user ${*@Q}" >&2
    fi
}

# The packages whose files a compilation reads, and their versions.
qv_compiled_with() {
    dpkg-query --show --showformat='${Package} ${Version}\n' 2>/dev/null |
        LC_ALL=C grep -E '^(g\+\+|gcc|cpp|clang|[^ ]*-dev )' | LC_ALL=C sort
}

# qv_forget_older_headers DIRECTORY: removes what was compiled there with packages that have been upgraded
# since. The files of a package have the date of its making, so new headers may look older than what was
# compiled with the old ones: the build would leave that as it is, and the compiler would refuse its
# precompiled headers.
qv_forget_older_headers() {
    local directory=$1 packages
    packages=$(qv_compiled_with) || return 0
    if ! [[ -e $directory/packages ]]; then
        cmake --build "$directory" --target clean >/dev/null
    elif [[ -n $(LC_ALL=C comm -23 "$directory/packages" - <<<"$packages") ]]; then
        echo "Packages that ${directory##*/} was compiled with have changed; compiling it anew." >&2
        cmake --build "$directory" --target clean >/dev/null
    fi
    printf '%s\n' "$packages" >"$directory/packages"
}

# qv_configure ROOT PRESET [OPTION...]: configures the preset. A build directory that was made for
# another place (a copied tree, say) cannot be used, so a failure is tried again from scratch.
qv_configure() {
    local root=$1 preset=$2
    shift 2
    (cd "$root" && { cmake --preset "$preset" "$@" || cmake --fresh --preset "$preset" "$@"; } &&
        qv_forget_older_headers "$root/build/$preset") \
        </dev/null || { qv_name_foreign_files "$root/build"; return 1; }
}

# qv_build ROOT PRESET [TARGET...]: builds the targets, or everything.
qv_build() {
    local root=$1 preset=$2
    shift 2
    (cd "$root" && cmake --build --preset "$preset" ${1:+--target "$@"}) </dev/null ||
        { qv_name_foreign_files "$root/build"; return 1; }
}

# qv_run_logged LOG COMMAND [ARGUMENT...]: runs it with its output in the file. When it fails, shows the
# output and ends the script. A function fails at its first command that does: a call in a condition
# would switch errexit off for all that it calls.
qv_run_logged() {
    local log=$1 code
    shift
    set +e
    (set -e && "$@") >"$log" 2>&1
    code=$?
    set -e
    if ((code != 0)); then
        cat "$log" >&2
        echo "${0##*/}: $* failed, see above" >&2
        exit 1
    fi
}
