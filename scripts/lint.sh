#!/usr/bin/env bash
# Lint of the code base (scripts/test.sh runs it first, so CI does):
#   1. clang-format --dry-run --Werror: the layout of .clang-format, over include/, src/, tools/, fuzz/,
#      bench/, tests/, examples/ and python/src/;
#   2. clang-tidy over include/, src/, tools/, fuzz/, bench/, tests/ and examples/: .clang-tidy at the root,
#      refined by the .clang-tidy of tools/, fuzz/, bench/ and tests/ (each says what it changes and why).
#      Every header and source is checked once as its own main file, two at a time (compile flags from
#      build/lint/compile_commands.json, which the lint preset configures with every program of the tree;
#      headers are diagnosed only where they are the main file). python/src/ is only formatted: its
#      compilation needs the Python build;
#   3. the Mox prefix of the types declared at the top level of namespace moxsdk in public headers,
#      which clang-tidy cannot tell from nested types.
# Exits non-zero when any step finds something. Files given as arguments restrict the run to them.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# The lint preset configures the whole tree (tests, tool, benchmarks against the peers, fuzz targets with
# clang 14), so it needs the packages of every part.
mox_require_packages "${MOX_BUILD_PACKAGES[@]}" "${MOX_TOOL_PACKAGES[@]}" "${MOX_BENCH_PACKAGES[@]}" \
    clang-format clang-tidy clang-14 libgtest-dev libgmock-dev pkg-config

cd "$MOX_ROOT"
if [ $# -gt 0 ]; then
    files=("$@")
else
    mapfile -t files < <(find include src tools fuzz bench tests examples python/src -type f \
        \( -name '*.h' -o -name '*.cxx' -o -name '*.cpp' \) | sort)
fi
tidied=()
for file in "${files[@]}"; do
    case "$file" in python/*) ;; *) tidied+=("$file") ;; esac
done

status=0

echo "=== clang-format ==="
clang-format --dry-run --Werror "${files[@]}" || status=1

echo "=== clang-tidy ==="
cmake --preset lint >/dev/null
[ ${#tidied[@]} -eq 0 ] || printf '%s\n' "${tidied[@]}" \
    | xargs -P 2 -I '{}' clang-tidy --quiet -p build/lint --header-filter='^$' '{}' 2>&1 \
    | sed '/^[0-9]* warnings\? generated\.$/d' \
    || status=1

echo "=== type prefixes ==="
# Namespace contents are not indented, so the top level of a namespace starts at column 0. The awk
# script tracks the innermost namespace through the "namespace x {" lines and their "}  // namespace x"
# closing comments.
for file in "${files[@]}"; do
    case "$file" in include/*.h) ;; *) continue ;; esac
    awk -v file="$file" '
        /^namespace [A-Za-z_]* *\{/ { stack[++depth] = $2; next }
        /^namespace *\{/            { stack[++depth] = "(anonymous)"; next }
        /^\} *\/\/ *namespace/      { depth--; next }
        depth > 0 && stack[depth] == "moxsdk" && match($0, /^(class|struct|union|enum( class)?) [A-Za-z_][A-Za-z0-9_]*/) {
            name = substr($0, RSTART, RLENGTH); sub(/.* /, "", name)
            isEnum = ($1 == "enum")
            if ((isEnum && name !~ /^EMox[A-Z]/) || (!isEnum && name !~ /^Mox[A-Z]/)) {
                printf "%s:%d: public type %s lacks the %s prefix\n", file, NR, name, isEnum ? "EMox" : "Mox"
                bad = 1
            }
        }
        END { exit bad }' "$file" || status=1
done

echo "Lint took ${SECONDS} s."
if [ $status -eq 0 ]; then echo "Lint: no findings."; fi
exit $status
