#!/usr/bin/env bash
# Fails and names the files that clang-format would change.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
git ls-files -z '*.h' '*.cpp' | xargs -0 -r clang-format --dry-run --Werror
