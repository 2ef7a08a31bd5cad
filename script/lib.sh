# Shared by the commands of this folder; sourced, never run.
# Moves to the root of the repository, so that every command works from any folder.

set -u -o pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT" || exit 3

# What a fresh Debian 12 needs for everything in this folder.
PACKAGES=(
	git g++ cmake ninja-build ccache python3 dpkg-dev
	clang clang-format clang-tidy libclang-rt-14-dev llvm-14
	g++-mingw-w64-x86-64-posix wine wine64
	libgtest-dev googletest libbenchmark-dev
	nlohmann-json3-dev jq lua5.4 duktape duktape-dev mujs
	pkgconf libzmq3-dev libdbus-1-dev dbus-daemon
)

# Says what happens next, apart from the output of the tools.
say()
{
	printf '\n== %s\n' "$*"
}

# Installs those of PACKAGES that are missing; says and does nothing when all are there.
install_missing()
{
	local package missing=() run=()
	for package in "${PACKAGES[@]}"; do
		[ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
	done
	[ ${#missing[@]} -eq 0 ] && return 0

	say "installing: ${missing[*]}"
	if [ "$(id -u)" -ne 0 ]; then
		if ! command -v sudo >/dev/null; then
			echo "these packages need root or sudo to be installed" >&2
			return 3
		fi
		run=(sudo)
	fi
	"${run[@]}" apt-get update -q || return 3
	"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" || return 3
}

# Configures (always: cheap, and it finds new files) and builds a preset. $1: preset, further arguments: targets, all of them by default.
build()
{
	local preset=$1 log target arguments=()
	shift
	for target in "$@"; do
		arguments+=(--target "$target")
	done
	log=$(cmake --preset "$preset" 2>&1) || { printf '%s\n' "$log"; return 1; }
	cmake --build --preset "$preset" "${arguments[@]}"
}

# Prepares the environment for programs under Wine: a prefix inside the build folder, no dialogs, no chatter, and a locale in which file names
# may have any letter, whatever the caller's is.
prepare_wine()
{
	export LC_ALL=C.UTF-8
	export WINEPREFIX="$ROOT/build/windows/wine" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml=" WINEARCH=win64
	unset DISPLAY
	mkdir -p "$WINEPREFIX"
}
