#!/usr/bin/env bash
# bayhal installed, as a packager and a user meet it. Without a build folder this first
# configures and builds one with BUILD_TESTING=OFF, which needs neither GoogleTest nor the
# benchmark library. Then it installs into a temporary prefix, moves the tree elsewhere (a
# relocatable install still works) and checks the components, that hal_tool runs on the
# installed libbayhal, and that a C program builds and runs against it through pkg-config
# and through find_package(bayhal).
# usage: check_install.sh [BUILD_DIR [C_COMPILER [EXTRA_CFLAGS...]]]
set -euo pipefail
cd "$(dirname "$0")/.."
src=$PWD
fail() { echo "install check: $*" >&2; exit 1; }

build=${1:-}
cc=${2:-cc}
shift $(($# > 2 ? 2 : $#))
if [[ -z $build ]]; then
  build=build-install
  cmake -S . -B "$build" -G Ninja -DBUILD_TESTING=OFF ${CMAKE_EXTRA:-} >/dev/null
  cmake --build "$build" -j"$(nproc)"
  ! grep -q '^GTest_DIR' "$build/CMakeCache.txt" || fail "BUILD_TESTING=OFF still looked for GoogleTest"
  ! grep -q '^benchmark_DIR' "$build/CMakeCache.txt" || fail "BUILD_TESTING=OFF still looked for the benchmark library"
fi

tmp=$(mktemp -d /tmp/bayhal-install-XXXXXX)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/staged" >/dev/null
[[ ! -e $tmp/staged/bin/halsim ]] || fail "halsim installed without asking for its component"
cmake --install "$build" --prefix "$tmp/staged" --component halsim >/dev/null
mv "$tmp/staged" "$tmp/prefix"
prefix=$tmp/prefix

so1=$(find "$prefix" -name libbayhal.so.1)
[[ -n $so1 && -L $so1 && -e $so1 ]] || fail "libbayhal.so.1 missing or dangling"
libdir=$(dirname "$so1")
[[ -L $libdir/libbayhal.so ]] || fail "libbayhal.so link missing"
for f in include/bayhal/bayhal.h include/bayhal/SE.h include/bayhal/PD.h include/bayhal/Ini_Conf.h \
         sbin/hal_tool bin/halsim share/man/man8/hal_tool.8 share/man/man1/halsim.1 share/doc/bayhal/LICENSE; do
  [[ -e $prefix/$f ]] || fail "$f not installed"
done
[[ ! -e $prefix/include/bayhal/bayhal_tool.h ]] || fail "the private tool interface was installed"
grep -q '^\.SS "hal_tool disk info"' "$prefix/share/man/man8/hal_tool.8" || fail "man page lacks the commands"

# hal_tool runs from the moved prefix on the library installed beside it, not a copy.
loaded=$(ldd "$prefix/sbin/hal_tool" | awk '$1 == "libbayhal.so.1" { print $3 }')
[[ -n $loaded && $(readlink -f "$loaded") == $(readlink -f "$so1") ]] || fail "hal_tool loads '$loaded', not $so1"
"$prefix/sbin/hal_tool" version | grep -q "($libdir/libbayhal.so" || fail "hal_tool version does not report the installed library"

cat >"$tmp/use.c" <<'C'
#include <bayhal/bayhal.h>
#include <string.h>
int main(void) {
  unsigned char b[2] = {0xab, 0x01};
  char out[5];
  return strcmp(num_to_ascii(b, 2, out, 5), "AB01") != 0;
}
C
# pkg-config from the .pc alone: no --define-variable, the tree was moved after install.
pc_dir=$(dirname "$(find "$prefix" -name bayhal.pc)")
pkg() { PKG_CONFIG_PATH=$pc_dir pkg-config "$@" bayhal; }
# shellcheck disable=SC2046
"$cc" -std=c99 -Wall -Wextra -Werror "$@" $(pkg --cflags) "$tmp/use.c" -o "$tmp/use_pc" $(pkg --libs)
LD_LIBRARY_PATH=$libdir "$tmp/use_pc" || fail "the program built through pkg-config failed"

mkdir -p "$tmp/cmake_user"
cat >"$tmp/cmake_user/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.16)
project(use_bayhal C)
find_package(bayhal 1 REQUIRED)
add_executable(use_cmake ../use.c)
target_link_libraries(use_cmake PRIVATE bayhal::bayhal)
CMAKE
flags="$*"
CC=$cc cmake -S "$tmp/cmake_user" -B "$tmp/cmake_user/build" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_C_FLAGS="$flags" >/dev/null
cmake --build "$tmp/cmake_user/build" >/dev/null
"$tmp/cmake_user/build/use_cmake" || fail "the program built through find_package failed"
echo "install ok: bayhal $(pkg --modversion) in $libdir, through pkg-config and find_package"
