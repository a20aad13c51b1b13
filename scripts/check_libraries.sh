#!/usr/bin/env bash
# The service may need the C and C++ libraries and nothing else.
set -u
cd "$(dirname "$0")/.." || exit 1
needed=$(readelf --dynamic build/release/bin/poe_service | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
[ -n "$needed" ] || { echo "check_libraries: cannot read build/release/bin/poe_service; './test release' builds it" >&2; exit 1; }
printf '%s\n' "$needed"
extra=$(printf '%s\n' "$needed" | grep -vE '^(libstdc\+\+|libm|libgcc_s|libc)\.so')
[ -z "$extra" ] || { echo "not allowed: $extra" >&2; exit 1; }
