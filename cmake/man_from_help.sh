#!/usr/bin/env bash
# Writes a program's manual page from its own --help and that of every command under it,
# so the page says exactly what the program says.
# usage: man_from_help.sh PROGRAM SECTION VERSION OUT
set -euo pipefail
prog=$1 section=$2 version=$3 out=$4
name=$(basename "$prog")
NO_COLOR=1
export NO_COLOR

# roff-safe text: backslashes, and lines that would read as requests.
quote() { sed -e 's/\\/\\e/g' -e "s/^\\([.']\\)/\\\\\\&\\1/"; }
# The subcommand names a help text lists.
commands() { awk '/^Subcommands:/ { on = 1; next } on && /^[^ ]/ { on = 0 } on && /^  [a-z_]/ { print $1 }'; }

top=$("$prog" --help)
summary=$(head -n 1 <<<"$top" | sed "s/^$name: //")
{
  echo ".TH ${name^^} $section \"\" \"bayhal $version\" \"bayhal\""
  echo ".SH NAME"
  echo "$name \\- $summary"
  echo ".SH SYNOPSIS"
  echo ".nf"
  grep '^Usage:' <<<"$top" | sed 's/^Usage: //' | quote
  echo ".fi"
  echo ".SH DESCRIPTION"
  echo ".nf"
  tail -n +3 <<<"$top" | quote
  echo ".fi"
  echo ".SH COMMANDS"
  walk() {
    local path=$1 help
    # shellcheck disable=SC2086
    help=$("$prog" $path --help)
    echo ".SS \"$name $path\""
    echo ".nf"
    grep -v '^Usage:' <<<"$help" | quote
    echo ".fi"
    for sub in $(commands <<<"$help"); do walk "$path $sub"; done
  }
  for cmd in $(commands <<<"$top"); do walk "$cmd"; done
} >"$out.tmp"
mv "$out.tmp" "$out"
