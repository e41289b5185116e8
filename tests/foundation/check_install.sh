#!/usr/bin/env bash
# `cmake --install` into a temporary prefix gives a usable development tree: the library
# with its SONAME link, every public header and bayhal.pc; a C program built only from
# what pkg-config says compiles, links and runs against it.
# usage: check_install.sh BUILD_DIR C_COMPILER [EXTRA_CFLAGS...]
set -euo pipefail
build=$1 cc=$2
shift 2
prefix=$(mktemp -d /tmp/bayhal-install-XXXXXX)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

fail() { echo "install check: $*"; exit 1; }
so1=$(find "$prefix" -name libbayhal.so.1)
[[ -n $so1 ]] || fail "libbayhal.so.1 not installed"
[[ -L $so1 ]] || fail "libbayhal.so.1 is not a symbolic link"
[[ -e $so1 ]] || fail "libbayhal.so.1 points nowhere"
[[ -L $(dirname "$so1")/libbayhal.so ]] || fail "libbayhal.so link missing"
for h in bayhal.h ERR_TRACE.h hal_common.h Ini_Conf.h SE.h PD.h; do
  [[ -f $prefix/include/bayhal/$h ]] || fail "header $h missing"
done
pc=$(find "$prefix" -name bayhal.pc)
[[ -n $pc ]] || fail "bayhal.pc not installed"

# The .pc carries the configured prefix; point it at the temporary one.
pkg() { PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --define-variable=prefix="$prefix" "$@" bayhal; }
cat >"$prefix/use.c" <<'C'
#include <bayhal/bayhal.h>
#include <string.h>
int main(void) {
  unsigned char b[2] = {0xab, 0x01};
  char out[5];
  return strcmp(num_to_ascii(b, 2, out, 5), "AB01") != 0;
}
C
# shellcheck disable=SC2046
"$cc" -std=c99 -Wall -Wextra -Werror "$@" $(pkg --cflags) "$prefix/use.c" -o "$prefix/use" $(pkg --libs)
LD_LIBRARY_PATH=$(dirname "$so1") "$prefix/use" || fail "program linked against the install failed"
echo "install ok: $(pkg --modversion) in $(dirname "$so1")"
