#!/usr/bin/env bash
# Line coverage of the service by the last run of the tests in the preset coverage; fails below 100 %.
set -u
cd "$(dirname "$0")/.." || exit 1
gcovr --root . --filter 'components/PoeDriver/' --object-directory build/coverage --exclude-throw-branches \
  --print-summary --fail-under-line 100 build/coverage
