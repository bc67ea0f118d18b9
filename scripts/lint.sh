#!/bin/sh
# Checks every source file against .clang-format and .clang-tidy.
#   scripts/lint.sh BUILD_FOLDER    (a configured clang build with all targets)
set -eu
files=$(git ls-files --cached --others --exclude-standard '*.cpp' '*.h')
# shellcheck disable=SC2086
clang-format --dry-run --Werror $files
# What this build does not compile (the replay of fuzz inputs) has no flags to check it with.
for file in $files; do
  if grep -q "/$file\"" "$1/compile_commands.json"; then echo "$file"; fi
done | xargs -P "$(nproc)" -n 1 clang-tidy -p "$1" --quiet
