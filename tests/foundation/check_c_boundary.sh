#!/usr/bin/env bash
# Every exported definition guards the C boundary: it is a function-try-block ending in
# BAYHAL_C_BOUNDARY (foundation/c_boundary.h). ERR_TRACE, which cannot trace its own
# failure, catches inside its body instead.
# usage: check_c_boundary.sh SOURCE_DIR
set -euo pipefail
cd "$1"
bad=$(git ls-files -z '*.cpp' ':!tests/**' ':!bench/**' ':!fuzz/**' ':!sim/**' | xargs -0 awk '
  /^BAYHAL_EXPORT/ { sig = ""; open = 1; start = FNR }
  open { sig = sig $0; if (index($0, "{")) { open = 0;
           if (sig !~ /\) try \{/ && sig !~ /ERR_TRACE\(unsigned/) print FILENAME ":" start } }')
if [[ -n $bad ]]; then
  echo "exported definitions without the C boundary guard:"; echo "$bad"; exit 1
fi
