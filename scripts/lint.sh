#!/bin/sh
# Checks every source file against .clang-format and .clang-tidy.
#   scripts/lint.sh BUILD_FOLDER    (a configured clang build with all targets)
set -eu
files=$(git ls-files --cached --others --exclude-standard '*.cpp' '*.h')
# shellcheck disable=SC2086
clang-format --dry-run --Werror $files
# shellcheck disable=SC2086
echo "$files" | tr " " "\n" | grep '\.cpp$' | xargs -P "$(nproc)" -n 1 clang-tidy -p "$1" --quiet
