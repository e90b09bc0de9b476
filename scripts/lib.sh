# SPDX-FileCopyrightText: The Marlowick authors
# SPDX-License-Identifier: MIT
#
# shellcheck shell=bash disable=SC2016,SC2034
# Shared by the scripts beside it and by .ci/run; sourced, never run. Needs only bash, apt-get and
# perl, which a fresh Debian has.
# From the environment: MARLOWICK_WERROR=ON makes compiler warnings errors, MARLOWICK_PRECOMPILE=ON
# precompiles headers, MARLOWICK_BUILD names the folder of the release build.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

build_folder=${MARLOWICK_BUILD:-build}
# Most tests wait for a server more than they compute.
tests_at_once=$(($(nproc) * 2))
build_packages=(
    build-essential cmake ninja-build
    qt6-base-dev qt6-5compat-dev qt6-tools-dev qt6-l10n-tools libquazip1-qt6-dev zlib1g-dev
    libarchive-dev libunrar-dev
    qt6-wayland par2 ca-certificates
)
test_packages=(dbus-daemon rar openssl mpv ffmpeg qt6-translations-l10n)
bench_packages=(curl libbenchmark-dev libssl-dev unrar)
clang_packages=(clang clang-tidy libclang-rt-dev)
ci_packages=(clang-format desktop-file-utils appstream mandoc g++-aarch64-linux-gnu qemu-user)
package_packages=(dpkg-dev lintian)

current_step=
current_hint=

# step <what is done now> <how to mend it if it fails>
step() {
    current_step=$1
    current_hint=$2
    printf '\n==> %s\n' "$current_step"
}

report_failure() {
    local status=$?
    if ((status != 0)) && [[ -n $current_step ]]; then
        printf '\nFAILED (exit code %d): %s\n%s\n' "$status" "$current_step" "$current_hint" >&2
    fi
}
trap report_failure EXIT

as_root() {
    if ((EUID == 0)); then
        "$@"
    else
        sudo "$@"
    fi
}

apt_get() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -y "$@"
}

# missing_packages <package>...  prints those that are not installed
missing_packages() {
    local installed package
    installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qxF "installed $package" <<<"$installed" || echo "$package"
    done
}

# unavailable_packages <package>...  prints those that no configured source offers
unavailable_packages() {
    local package
    for package in "$@"; do
        [[ $(LC_ALL=C apt-cache policy "$package") =~ Candidate:\ [^\(] ]] || echo "$package"
    done
}

# enable_component <component> <origin>  adds the component to the source entries of the origin's own
# archive. The signed release files that apt-get update has fetched show which entries those are; all
# others stay unchanged.
enable_component() {
    local file uri suite
    while IFS='|' read -r file uri suite; do
        file=${file%:*}
        echo "Adding the component $1 to the entry of $suite in $file"
        if [[ $file == *.sources ]]; then
            as_root env ADDED="$1" URI="${uri%/}" SUITE="$suite" perl -i -00 -pe '
                next unless /^URIs:(?:.*\n?[ \t])*.*(?<!\S)\Q$ENV{URI}\E\/?(?!\S)/m;
                next unless /^Suites:(?:.*\n?[ \t])*.*(?<!\S)\Q$ENV{SUITE}\E(?!\S)/m;
                s/^(Components:.*)$/$1 $ENV{ADDED}/m unless /(?<!\S)\Q$ENV{ADDED}\E(?!\S)/;' "$file"
        else
            as_root env ADDED="$1" URI="${uri%/}" SUITE="$suite" perl -i -lpe '
                next unless /^\s*deb(-src)?(\s[^#]*)?\s\Q$ENV{URI}\E\/?\s+\Q$ENV{SUITE}\E\s/;
                next if /^[^#]*\s\Q$ENV{ADDED}\E(\s|$)/;
                s/^([^#]*?)\s*(#.*)?$/$1 $ENV{ADDED} $2/;
                s/ +$//;' "$file"
        fi
    done < <(apt-get indextargets --format '$(SOURCESENTRY)|$(REPO_URI)|$(RELEASE)' \
        'Created-By: Packages' "Origin: $2" 'Component: main')
}

# install_packages <package>...  does nothing, without asking apt, if all are installed
install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0
    step "Installing ${missing[*]}" \
        "Look at apt-get's message above. By hand, as root: add the component non-free to Debian's \
entries in /etc/apt, or universe and multiverse to Ubuntu's, then: apt-get update && \
apt-get install --no-install-recommends ${missing[*]}"
    if ((EUID != 0)) && ! command -v sudo >/dev/null; then
        echo "This needs root or sudo, and there is neither." >&2
        exit 1
    fi
    apt_get -q update || echo "Some package lists are not up to date; going on with the old ones."
    if [[ -n $(unavailable_packages "${missing[@]}") ]]; then
        enable_component non-free Debian
        enable_component universe Ubuntu
        enable_component multiverse Ubuntu # what Debian has in non-free
        apt_get -q update
    fi
    apt_get -q install --no-install-recommends "${missing[@]}"
}

# configure <preset> <build folder> <cmake option>...  skipped if done before with the same options
configure() {
    local preset=$1 folder=$2
    shift 2
    local options=("-DMARLOWICK_WERROR=${MARLOWICK_WERROR:-OFF}"
        "-DMARLOWICK_PRECOMPILE=${MARLOWICK_PRECOMPILE:-OFF}" "$@")
    if command -v ccache >/dev/null; then
        options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    if [[ -f $folder/build.ninja && -f $folder/configured-with ]] &&
        [[ $(<"$folder/configured-with") == "${options[*]}" ]]; then
        return
    fi
    step "Configuring $folder (preset $preset)" \
        "If the message above mentions an old cache, delete $folder and try again."
    cmake --preset "$preset" -B "$folder" "${options[@]}"
    echo "${options[*]}" >"$folder/configured-with"
}

# build <build folder> <target>...
build() {
    local folder=$1
    shift
    step "Building $* in $folder" \
        "See the compiler's message above. If $folder itself is broken, delete it and try again."
    cmake --build "$folder" --parallel "$(nproc)" --target "$@"
}

# make_package <build folder> <lintian option>...  leaves the path in $package
make_package() {
    local folder=$1
    step "Making the Debian package in $folder" "See cpack's message above."
    rm -f "$folder"/*.deb
    (cd "$folder" && cpack -G DEB)
    package=$(realpath "$folder"/*.deb)
    step "Checking it with lintian" "lintian-explain-tags TAG explains a tag."
    lintian --fail-on error,warning "${@:2}" "$package"
    echo "$package"
}

cd "$root"
