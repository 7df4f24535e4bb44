# What all scripts share: where the project is, how steps are shown, how packages are installed. To be
# sourced; sets $project.
# shellcheck disable=SC2034  # what is set here is read by the scripts that source it

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cd "$project" || exit 1

if [ -t 1 ] && [ -z "${NO_COLOR:-}" ]; then
    bold=$'\e[1m' green=$'\e[32m' red=$'\e[31m' plain=$'\e[0m'
else
    bold='' green='' red='' plain=''
fi

# step NAME: says what begins, and keeps what the step before it took.
step() {
    end_step
    step_name=$*
    printf '\n%s== %s%s\n' "$bold" "$*" "$plain"
}

# end_step: one line more in $step_times, "seconds, processor seconds of all its processes, name".
step_name='' step_began=0 step_ticks=0 step_times=''
end_step() {
    local fields ticks
    read -ra fields </proc/$$/stat
    ticks=$((fields[15] + fields[16])) # of all children that have ended, user and system
    if [ -n "$step_name" ]; then
        printf -v step_times '%s   %5d s %5d s  %s\n' "$step_times" $((SECONDS - step_began)) \
            $(((ticks - step_ticks) / $(getconf CLK_TCK))) "$step_name"
    fi
    step_name='' step_began=$SECONDS step_ticks=$ticks
}

note() { printf '   %s\n' "$*"; }
good() { printf '   %s%s%s\n' "$green" "$*" "$plain"; }
bad() { printf '   %s%s%s\n' "$red" "$*" "$plain" >&2; }
die() { bad "$*"; exit 1; }

# What each job needs, as Debian 12's packages. The presets configure the tests along with the program, so
# their frameworks are among what a build needs.
packages_native="g++ cmake ninja-build tzdata libgtest-dev python3 libcli11-dev nlohmann-json3-dev libhivex-dev"
packages_mutate="clang-14 lld bubblewrap"
packages_native_tests="git python3-jsonschema libwin-hivex-perl chromium chromium-driver clang-14 clang-format-14 clang-tidy-14 shellcheck strace $packages_mutate"
packages_windows="g++-mingw-w64-i686-posix libcli11-dev nlohmann-json3-dev cmake ninja-build googletest python3 wine wine32:i386 wine64 msitools wixl"
packages_windows_tests="osslsigncode openssl clang-tidy-14 python3-jsonschema"
packages_packaging="pandoc zip dpkg-dev"
packages_packaging_tests="lintian man-db bash-completion zsh unzip osslsigncode openssl python3-jsonschema python3-license-expression"
packages_fresh_root="mmdebstrap"
packages_coverage="gcovr"
packages_deploy="ansible ansible-lint openssh-client"
packages_bench="libbenchmark-dev libicu-dev libspdlog-dev python3 python3-matplotlib time util-linux valgrind"
packages_fuzz="clang-14 libclang-rt-14-dev lld"
packages_static="cppcheck iwyu"

# install_packages NAME ...: installs what is missing, after saying so; without root it prints the command
# and stops. `-t bookworm` keeps the packages of the two architectures at versions that fit together.
install_packages() {
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$name" 2>/dev/null | grep -qx installed || missing+=("$name")
    done
    if [ ${#missing[@]} -eq 0 ]; then
        note "all packages are there: $*"
        return 0
    fi
    local command="apt-get -o Acquire::Retries=3 update; DEBIAN_FRONTEND=noninteractive apt-get -o Acquire::Retries=3 install -y --no-install-recommends -t bookworm ${missing[*]}"
    case " ${missing[*]} " in *:i386*) command="dpkg --add-architecture i386; $command" ;; esac
    note "to install: ${missing[*]}"
    if [ "$(id -u)" -ne 0 ]; then
        bad "This needs root. Run as root, then start again:"
        printf '\n%s\n\n' "$command" >&2
        exit 1
    fi
    mkdir -p "$project/build"
    # A list that can't be read makes "apt-get update" fail though the rest is fine: the install decides.
    if ! bash -c "$command" >"$project/build/install.log" 2>&1 </dev/null; then
        tail -n 20 "$project/build/install.log" >&2
        die "The packages could not be installed (whole log: build/install.log)."
    fi
    good "installed"
}

# configure_and_build PRESET [TARGET ...]: quiet unless it fails, with ninja's own counter on the way.
configure_and_build() {
    local preset=$1 log="$project/build/$1.log"
    shift
    mkdir -p "$project/build"
    if ! cmake --preset "$preset" >"$log" 2>&1; then
        tail -n 30 "$log" >&2
        bad "configuring the preset $preset failed (whole log: build/$preset.log)"
        return 1
    fi
    local targets=()
    [ $# -gt 0 ] && targets=(--target "$@")
    NINJA_STATUS="   [$preset %f/%t] " cmake --build "build/$preset" --parallel "$(nproc)" "${targets[@]}" 2>&1 |
        tee -a "$log" | show_progress
    if [ "${PIPESTATUS[0]}" -ne 0 ]; then
        grep -E -A 12 'error:|^FAILED|undefined reference' "$log" | head -n 60 >&2
        bad "building the preset $preset failed (whole log: build/$preset.log)"
        return 1
    fi
}

# On a terminal one line that changes; elsewhere every fiftieth.
show_progress() {
    if [ -t 1 ]; then
        awk '/^   \[/ { printf "\r%.100s\033[K", $0; fflush(); shown = 1 } END { if (shown) printf "\r\033[K" }'
    else
        awk '/^   \[/ { last = $0; if (++n % 50 == 0) { print substr($0, 1, 100); fflush() } } END { if (last) print substr(last, 1, 100) }'
    fi
}
