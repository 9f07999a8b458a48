#!/usr/bin/env bash
# mutants.sh [N] [SEED]: changes one line of the product's portable code, runs the native unit tests, takes the change
# back; N times (50). Prints a line for each change that no test noticed. The same sources, N and SEED (1) give the same
# changes. mutants.sh --list FILE makes the changes that an earlier run wrote to build/mutants/list.tsv, wherever those
# lines stand now.
. "$(dirname "$0")/lib.sh"
need_packages cmake ninja-build clang googletest python3
export CCACHE_DISABLE=1
exec python3 "$ROOT/scripts/mutants.py" "$@"
